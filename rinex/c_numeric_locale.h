// SPDX-License-Identifier: MIT
#pragma once
// Keeps printf-style number formatting on the "C" decimal point for the lifetime of the
// object, on the calling thread only: the application object adopts the user's locale,
// and a decimal comma would break the fixed-column RINEX records.

namespace rinex {

class CNumericLocale {
public:
    CNumericLocale();
    ~CNumericLocale();
    CNumericLocale(const CNumericLocale&) = delete;
    CNumericLocale& operator=(const CNumericLocale&) = delete;

private:
    void* previous_ = nullptr;
};

} // namespace rinex
