// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <locale.h>
#include <clocale>

namespace Nax::FrontEnd::XMLDB {

/// Lets the C functions that ask for the thread's locale take names for UTF-8 while it lives. Where
/// the system has no such locale nothing changes.
class CUtf8Locale {
public:
    CUtf8Locale()
        : m_own(newlocale(LC_CTYPE_MASK, "C.UTF-8", static_cast<locale_t>(nullptr))),
          m_before(m_own == nullptr ? nullptr : uselocale(m_own)) {}
    CUtf8Locale(const CUtf8Locale&) = delete;
    CUtf8Locale& operator=(const CUtf8Locale&) = delete;
    ~CUtf8Locale() {
        if (m_own != nullptr) {
            uselocale(m_before);
            freelocale(m_own);
        }
    }

private:
    const locale_t m_own;
    const locale_t m_before;
};

} // namespace Nax::FrontEnd::XMLDB
