#include "runtime/values/Variant.hpp"

#include "runtime/text/Numbers.hpp"
#include "runtime/text/StringFunctions.hpp"

#include <compare>
#include <functional>
#include <type_traits>

namespace hearthix {

namespace {

template <class Value>
bool isLessOfOneType(const Value& left, const Value& right) {
    return left < right;
}
bool isLessOfOneType(double left, double right) {
    return std::is_lt(std::weak_order(left, right)); // NaN included
}
bool isLessOfOneType(const String& left, const String& right) {
    return isLessIgnoringCase(left, right);
}
bool isLessOfOneType(const Ref<Object>& left, const Ref<Object>& right) {
    return std::less<>()(left.get(), right.get());
}

} // namespace

Integer Variant::toInteger() const {
    if (isString())
        return ValInteger(asString());
    const double* real = std::get_if<double>(&value_);
    return real != nullptr ? hearthix::toInteger(*real) : asInteger();
}

bool Variant::isLess(const Variant& left, const Variant& right) noexcept {
    if (left.value_.index() != right.value_.index())
        return left.value_.index() < right.value_.index();
    const auto isLessThanRight = [&right](const auto& mine) {
        return isLessOfOneType(mine, std::get<std::decay_t<decltype(mine)>>(right.value_));
    };
    return std::visit(isLessThanRight, left.value_);
}

} // namespace hearthix
