#include "runtime/values/Variant.hpp"

#include "runtime/text/Numbers.hpp"

namespace hearthix {

const String& Variant::emptyText() noexcept {
    static const String kNone;
    return kNone;
}

Integer Variant::toInteger() const {
    if (isString())
        return ValInteger(asString());
    const double* real = std::get_if<double>(&value_);
    return real != nullptr ? hearthix::toInteger(*real) : asInteger();
}

} // namespace hearthix
