// The system's latest error, as errno has it.
#pragma once

#include <cerrno>
#include <system_error>

namespace hearthix {

inline std::error_code systemError() {
    return {errno, std::system_category()};
}

} // namespace hearthix
