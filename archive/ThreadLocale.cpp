#include "ThreadLocale.h"

namespace Archive {
namespace Detail {

Utf8CharacterTypeForThisThread::Utf8CharacterTypeForThisThread()
{
    static const char *const candidates[] = {"C.UTF-8", "C.utf8", "en_US.UTF-8", "en_US.utf8",
                                             "de_DE.UTF-8", "de_DE.utf8"};
    for (const char *name : candidates) {
        locale_t base = duplocale(LC_GLOBAL_LOCALE);
        if (base == locale_t(0))
            return;
        utf8 = newlocale(LC_CTYPE_MASK, name, base);
        if (utf8 != locale_t(0))
            break;
        freelocale(base);
    }
    if (utf8 != locale_t(0))
        previous = uselocale(utf8);
}

Utf8CharacterTypeForThisThread::~Utf8CharacterTypeForThisThread()
{
    if (utf8 == locale_t(0))
        return;
    uselocale(previous);
    freelocale(utf8);
}

} // namespace Detail
} // namespace Archive
