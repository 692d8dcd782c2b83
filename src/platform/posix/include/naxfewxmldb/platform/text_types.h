// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <naxfewxmldb/platform/bstr.h>
#include <naxfewxmldb/platform/narrow_string.h>
