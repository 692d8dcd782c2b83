// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <string_view>

namespace LandscapeValidator {

template <class List>
bool Contains(const List& list, std::string_view word) {
    return std::find(list.begin(), list.end(), word) != list.end();
}

} // namespace LandscapeValidator
