#pragma once
// Private to the archive module.
//
// libarchive converts entry names between the archive's character set and the current
// locale's. A display starts the tool from its init scripts without LANG or LC_*, so the
// process runs in the C locale, and a pax, zip or 7-Zip name such as "Feld Süd – Mais.txt"
// cannot be converted: the header read ends in a warning and the restore fails. This
// gives the thread that creates it alone a UTF-8 character type for as long as it lives;
// the process's locale and the thread's other categories stay as they are.
// Create it before the reader: libarchive settles a handle's character set on first use.

#include <locale.h>

namespace Archive {
namespace Detail {

class Utf8CharacterTypeForThisThread
{
public:
    Utf8CharacterTypeForThisThread();
    ~Utf8CharacterTypeForThisThread();
    Utf8CharacterTypeForThisThread(const Utf8CharacterTypeForThisThread &) = delete;
    Utf8CharacterTypeForThisThread &operator=(const Utf8CharacterTypeForThisThread &) = delete;

    // False when no UTF-8 locale is installed; the thread then keeps the one it had.
    bool Active() const { return utf8 != locale_t(0); }

private:
    locale_t utf8 = locale_t(0);
    locale_t previous = locale_t(0);
};

} // namespace Detail
} // namespace Archive
