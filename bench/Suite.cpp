#include "Suite.hpp"

#include <cstdio>

namespace hearthix::bench {

namespace {

const std::vector<int>& cpus() {
    static const std::vector<int> usable = usableCpus();
    return usable;
}

} // namespace

Contest::Contest(const Options& options, Link link)
    : driver_({options.driver, "ready."}, link), relay_({options.relay, "\r"}, link) {
    for (const Rig* rig : {&driver_, &relay_})
        rig->process().pinTo(cpus().front());
}

void Contest::useTwoCores() const {
    pinSelfTo(cpus().back());
}

void Contest::useOneCore() const {
    pinSelfTo(cpus().front());
}

Rounds::Rounds(const char* name, std::size_t count) : left_(count) {
    std::fprintf(stderr, "== %s ", name);
}

Rounds::~Rounds() {
    std::fputc('\n', stderr);
}

bool Rounds::next() {
    if (left_ == 0)
        return false;
    std::fputc('.', stderr);
    --left_;
    return true;
}

std::string grouped(std::size_t number) {
    std::string digits = std::to_string(number);
    for (std::size_t i = digits.size(); i > 3; i -= 3)
        digits.insert(i - 3, 1, ',');
    return digits;
}

} // namespace hearthix::bench
