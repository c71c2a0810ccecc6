#include "runtime/Variant.hpp"

#include "runtime/Numbers.hpp"

namespace hearthix {

Integer Variant::toInteger() const {
    if (isString())
        return ValInteger(asString());
    if (const double* number = std::get_if<double>(&value_))
        return hearthix::toInteger(*number);
    return asInteger();
}

} // namespace hearthix
