// Sort keys of the store's case-insensitive text orders.
//
// A collation is one locale's comparison of texts without regard to case, by ICU. It is made once and lives as long as
// the process; any thread may use it. Keys of one collation id may be compared byte by byte; keys of two may not.
#pragma once

#include "Platform/types.h"

#include <string>
#include <string_view>
#include <vector>

namespace plat {

class Collation {
public:
    virtual ~Collation() = default;
    // The locale and the version of its rules ("de_DE/153.112.40.0"). A store keeps it beside its keys and makes them
    // anew when it differs.
    virtual const std::string& Id() const = 0;
    virtual const std::string& Locale() const = 0;
    // Appends the key of the text, without a zero byte in it or behind it.
    virtual void AppendKey(std::u16string_view text, std::vector<BYTE>& key) const = 0;
    // Below, equal to or above 0, as the keys would compare.
    virtual int Compare(std::u16string_view a, std::u16string_view b) const = 0;
};

// Of the device's locale now.
const Collation& CurrentCollation();
// Of a locale by its ICU id, so that a store may go on in the locale it was made in.
const Collation& CollationOf(const std::string& locale);

} // namespace plat
