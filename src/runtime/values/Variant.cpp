#include "runtime/values/Variant.hpp"

#include "runtime/text/Numbers.hpp"

namespace hearthix {

const String& Variant::emptyText() noexcept {
    static const String kNone;
    return kNone;
}

Integer Variant::toInteger() const {
    if (isString())
        return ValInteger(text_);
    return kind_ == Kind::real ? hearthix::toInteger(real_) : asInteger();
}

bool operator==(const Variant& left, const Variant& right) noexcept {
    if (left.kind_ != right.kind_)
        return false;
    switch (left.kind_) {
    case Variant::Kind::nothing: return true;
    case Variant::Kind::real: return left.real_ == right.real_;
    case Variant::Kind::text: return left.text_ == right.text_;
    case Variant::Kind::object: return left.object_ == right.object_;
    default: return left.integer_ == right.integer_;
    }
}

} // namespace hearthix
