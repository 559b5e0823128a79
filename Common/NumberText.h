#pragma once

#include <charconv>
#include <cmath>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <type_traits>

/// Numbers as text and back, the same in every locale: a dot for the fraction,
/// no grouping.

/// Appends the shortest text that reads back equal.
template <class Number>
void appendNumber(std::string& text, Number number) {
    char digits[64];
    const auto end = std::to_chars(digits, digits + sizeof digits, number);
    text.append(digits, end.ptr);
}

/// The whole text as one finite number, without a "+" or blanks around it;
/// nothing when it is none, or one that Number cannot hold.
template <class Number>
std::optional<Number> readNumber(std::string_view text) {
    Number number{};
    const auto end = std::from_chars(text.data(), text.data() + text.size(), number);
    if (end.ec != std::errc() || end.ptr != text.data() + text.size()) {
        return std::nullopt;
    }
    if constexpr (std::is_floating_point_v<Number>) {
        if (!std::isfinite(number)) {
            return std::nullopt;
        }
    }
    return number;
}
