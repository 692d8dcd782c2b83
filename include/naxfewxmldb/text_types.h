// SPDX-License-Identifier: Apache-2.0
#pragma once

// The text types of the exported boundary: `_bstr_t` (wide, counted) and `CStringA` (narrow).
// Narrow text is UTF-8 throughout. The types are the platform's own where it has them; elsewhere
// they are supplied with the same names and the part of their behaviour that the library uses.
#include <naxfewxmldb/platform/text_types.h>
