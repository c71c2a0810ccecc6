#include "app/App.hpp"

int main(int argc, char** argv) {
    hearthix::App app;
    return app.execute(argc, argv);
}
