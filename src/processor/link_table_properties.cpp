// SPDX-License-Identifier: Apache-2.0
#include <naxfewxmldb/link_table_properties.h>

namespace Nax::FrontEnd::XMLDB {

SLinkTableProperties::SLinkTableProperties(const _bstr_t& table, const _bstr_t& first,
                                           const _bstr_t& second, const _bstr_t& valueOfFirst,
                                           const _bstr_t& valueOfSecond)
    : tableName(table),
      firstColumn(first),
      secondColumn(second),
      firstValue(valueOfFirst),
      secondValue(valueOfSecond) {}

SLinkTableProperties::SLinkTableProperties(const SLinkTableProperties&) = default;
SLinkTableProperties::SLinkTableProperties(SLinkTableProperties&&) noexcept = default;
SLinkTableProperties& SLinkTableProperties::operator=(const SLinkTableProperties&) = default;
SLinkTableProperties& SLinkTableProperties::operator=(SLinkTableProperties&&) noexcept = default;
SLinkTableProperties::~SLinkTableProperties() = default;

} // namespace Nax::FrontEnd::XMLDB
