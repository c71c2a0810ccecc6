#include "shell/App.hpp"

#include <string_view>

static_assert(std::string_view(hearthix::App::kLongVersion).starts_with(HEARTHIX_VERSION " ("),
              "the package and the program disagree about the version");

int main(int argc, char** argv) {
    hearthix::App app;
    return app.execute(argc, argv);
}
