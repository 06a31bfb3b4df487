// SPDX-License-Identifier: MIT
#include "rinex/c_numeric_locale.h"

#if defined(__unix__) || defined(__APPLE__)
#include <clocale>
#include <locale.h>
#if defined(__APPLE__)
#include <xlocale.h>
#endif
#define VELMOOR_HAVE_USELOCALE 1
#endif

namespace rinex {

#if defined(VELMOOR_HAVE_USELOCALE)

namespace {
locale_t cLocale() {
    static const locale_t locale = newlocale(LC_NUMERIC_MASK, "C", locale_t(nullptr));
    return locale;
}
} // namespace

CNumericLocale::CNumericLocale() {
    if (locale_t c = cLocale()) previous_ = uselocale(c);
}

CNumericLocale::~CNumericLocale() {
    if (previous_) uselocale(static_cast<locale_t>(previous_));
}

#else

// Without per-thread locales the process locale is left as it is.
CNumericLocale::CNumericLocale() = default;
CNumericLocale::~CNumericLocale() = default;

#endif

} // namespace rinex
