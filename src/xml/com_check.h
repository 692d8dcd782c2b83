// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "support/trace.h"

#include <naxfewxmldb/platform/com_types.h>
#include <naxfewxmldb/platform/xml_dom.h>

namespace Nax::FrontEnd::XMLDB {

/// Traces a failed result code and raises it as `_com_error` with the operation's description.
inline void CheckResult(HRESULT result, int line) {
    if (SUCCEEDED(result)) {
        return;
    }
    const _com_error error(result, GetErrorDescription());
    NAX_TRACE_ERROR_STATIC("Nax::FrontEnd::XMLDB",
                           "COM operation failed. HRESULT: %dMessage:%s\nLine: %d", result,
                           error.ErrorMessage(), line);
    throw error;
}

} // namespace Nax::FrontEnd::XMLDB

#define NAX_CHECK(call) ::Nax::FrontEnd::XMLDB::CheckResult((call), __LINE__)
