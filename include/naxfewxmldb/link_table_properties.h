// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <naxfewxmldb/export.h>
#include <naxfewxmldb/text_types.h>

namespace Nax::FrontEnd::XMLDB {

/// A link table, which joins two elements, and one row of it.
struct NAXFEWXMLDB_EXPORT SLinkTableProperties {
    SLinkTableProperties(const _bstr_t& tableName, const _bstr_t& firstColumn,
                         const _bstr_t& secondColumn, const _bstr_t& firstValue,
                         const _bstr_t& secondValue);
    SLinkTableProperties(const SLinkTableProperties&);
    SLinkTableProperties(SLinkTableProperties&&) noexcept;
    SLinkTableProperties& operator=(const SLinkTableProperties&);
    SLinkTableProperties& operator=(SLinkTableProperties&&) noexcept;
    ~SLinkTableProperties();

    _bstr_t tableName;
    _bstr_t firstColumn;  ///< name of the first key column
    _bstr_t secondColumn; ///< name of the second key column
    _bstr_t firstValue;   ///< ignored when the table is created
    _bstr_t secondValue;  ///< ignored when the table is created
};

} // namespace Nax::FrontEnd::XMLDB
