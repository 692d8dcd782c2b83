// SPDX-License-Identifier: Apache-2.0
#pragma once

// The one export macro. NAXFEWXMLDB_BUILDING is set while the library itself is compiled and
// NAXFEWXMLDB_STATIC where its objects are linked directly; a platform that needs import and export
// attributes defines NAXFEWXMLDB_EXPORT_ATTRIBUTE and NAXFEWXMLDB_IMPORT_ATTRIBUTE in
// <naxfewxmldb/platform/export_attributes.h>.
#include <naxfewxmldb/platform/export_attributes.h>

#if defined(NAXFEWXMLDB_STATIC)
#define NAXFEWXMLDB_EXPORT
#elif defined(NAXFEWXMLDB_BUILDING)
#define NAXFEWXMLDB_EXPORT NAXFEWXMLDB_EXPORT_ATTRIBUTE
#else
#define NAXFEWXMLDB_EXPORT NAXFEWXMLDB_IMPORT_ATTRIBUTE
#endif
