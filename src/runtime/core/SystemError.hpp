// The error of the latest failed system call, from errno.
#pragma once

#include <cerrno>
#include <system_error>

namespace hearthix {

inline std::error_code systemError() {
    return {errno, std::system_category()};
}

} // namespace hearthix
