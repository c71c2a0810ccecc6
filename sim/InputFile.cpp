#include "sim/InputFile.hpp"

#include "runtime/text/StringFunctions.hpp"
#include "sim/Failure.hpp"

#include <filesystem>
#include <fstream>

namespace hearthix::sim {

namespace {

constexpr std::uintmax_t kLargest = std::uintmax_t{64} * 1024 * 1024;

[[noreturn]] void refuse(const String& path, const char* option, const char* reason) {
    throw Failure{concat("cannot read ", path, ": ", reason, "; name another file with ", option, " FILE")};
}

} // namespace

void requireRegularFile(const String& path, const char* option) {
    const std::filesystem::path file(path.view());
    std::error_code error;
    if (!std::filesystem::exists(file, error))
        refuse(path, option, "there is no such file");
    if (!std::filesystem::is_regular_file(file, error))
        refuse(path, option, "it is not a regular file");
    if (std::filesystem::file_size(file, error) > kLargest)
        refuse(path, option, "it is larger than 64 MiB");
}

// The file may change its size meanwhile.
std::string contentOf(const String& path, const char* option) {
    requireRegularFile(path, option);
    const std::filesystem::path file(path.view());
    std::string content(std::filesystem::file_size(file), '\0');
    std::ifstream stream(file, std::ios::binary);
    if (!stream)
        refuse(path, option, "it cannot be opened");
    stream.read(content.data(), static_cast<std::streamsize>(content.size()));
    content.resize(static_cast<std::size_t>(stream.gcount()));
    return content;
}

} // namespace hearthix::sim
