// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

namespace Fuzzing {

enum class PlainResult { IllFormed, Invalid, Valid };

/// What libxml2 says of a landscape when it reads the whole text into a tree and validates that:
/// another way than the product's, which validates while it reads a file. Aborts when the schema
/// cannot be used. Fetches nothing.
PlainResult ParsePlainly(std::string_view text);

} // namespace Fuzzing
