// Counts the calls of a function that are in progress, however they end.
#pragma once

namespace hearthix {

class Nesting {
public:
    explicit Nesting(int& depth) : depth_(depth) { ++depth_; }
    Nesting(const Nesting&) = delete;
    Nesting& operator=(const Nesting&) = delete;
    ~Nesting() { --depth_; }

private:
    int& depth_;
};

} // namespace hearthix
