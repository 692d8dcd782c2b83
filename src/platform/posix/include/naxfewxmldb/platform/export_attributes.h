// SPDX-License-Identifier: Apache-2.0
#pragma once

#define NAXFEWXMLDB_EXPORT_ATTRIBUTE __attribute__((visibility("default")))
#define NAXFEWXMLDB_IMPORT_ATTRIBUTE __attribute__((visibility("default")))
