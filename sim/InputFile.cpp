#include "sim/InputFile.hpp"

#include <fstream>
#include <iterator>

namespace hearthix::sim {

std::optional<std::string> contentOf(const String& path) {
    std::ifstream file{std::string(path.view()), std::ios::binary};
    file.peek(); // a folder opens like a file, and fails when it is read
    if (!file)
        return std::nullopt;
    return std::string{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

} // namespace hearthix::sim
