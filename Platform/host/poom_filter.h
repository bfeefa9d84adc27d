// Restrictions of a collection: "[Prop] op value" joined by AND, as conditions on the fields of its items.
#pragma once

#include "Platform/host/poom_host.h"

namespace plat::poom {

inline constexpr std::u16string_view kOidField = u"Oid";
inline constexpr std::u16string_view kStartField = u"Start";
inline constexpr std::u16string_view kEndField = u"End";

enum class Op { Equal, NotEqual, Less, LessOrEqual, Greater, GreaterOrEqual };

struct Condition {
    std::u16string field;
    Op op = Op::Equal;
    FieldValue value;

    bool IsOn(std::u16string_view name) const { return SameWithoutCase(field, name); }
};
using Filter = std::vector<Condition>;

// Adds the conditions of a text; false when it is no restriction.
bool ReadFilter(const ItemKind& kind, std::u16string_view text, Filter& filter);
// By the order of two values, below 0, 0 or above.
bool Holds(Op op, int order);
int Order(const FieldValue& a, const FieldValue& b);
bool Passes(PoomItem& item, const Condition& condition);

} // namespace plat::poom
