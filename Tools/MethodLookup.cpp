#include "Tools/MethodLookup.h"

#include <algorithm>
#include <numeric>

#include "Tools/Failure.h"
#include "Tools/Format.h"

namespace Tool {

namespace {

using JsonDevice::Vocabulary::Operation;

constexpr std::size_t mostSuggestions = 5;

std::string lowerCase(std::string_view text) {
    std::string lower(text);
    for (char& c : lower) {
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    }
    return lower;
}

/// How many characters have to be inserted, deleted or replaced (Levenshtein's distance).
std::size_t distance(std::string_view a, std::string_view b) {
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < a.size(); ++i) {
        std::size_t diagonal = row[0]++;
        for (std::size_t j = 0; j < b.size(); ++j) {
            const std::size_t replaced = diagonal + (a[i] == b[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({replaced, diagonal + 1, row[j] + 1});
        }
    }
    return row.back();
}

std::string joined(const std::vector<std::string>& names) {
    std::string list;
    for (const std::string& name : names) {
        list += (list.empty() ? "" : ", ") + name;
    }
    return list;
}

}  // namespace

std::vector<std::string> similarMethods(std::string_view name) {
    // No name is longer than this, and the distance costs the product of the lengths.
    const std::string wanted = lowerCase(name.substr(0, 100));
    const bool whole = wanted.find("::") != std::string::npos;
    std::vector<std::pair<std::size_t, std::string>> close;
    for (const Operation& operation : JsonDevice::Vocabulary::operations()) {
        const std::string candidate = lowerCase(whole ? operation.method : operation.operationName());
        std::size_t difference = distance(wanted, candidate);
        const bool part = wanted.size() >= 3 && candidate.find(wanted) != std::string::npos;
        if (part) {
            difference = std::min<std::size_t>(difference, 3);
        }
        if (part || difference <= std::max<std::size_t>(2, wanted.size() / 4)) {
            close.emplace_back(difference, operation.method);
        }
    }
    std::ranges::stable_sort(close, {}, [](const auto& entry) { return entry.first; });
    std::vector<std::string> names;
    for (const auto& [difference, method] : close) {
        if (names.size() < mostSuggestions) {
            names.push_back(method);
        }
    }
    return names;
}

const Operation& lookUpMethod(std::string_view name) {
    if (const Operation* exact = JsonDevice::Vocabulary::find(name)) {
        return *exact;
    }
    const Operation* found = nullptr;
    std::vector<std::string> candidates;
    for (const Operation& operation : JsonDevice::Vocabulary::operations()) {
        if (operation.operationName() == name) {
            found = &operation;
            candidates.emplace_back(operation.method);
        }
    }
    if (candidates.size() > 1) {
        refuseUsage(inQuotes(name) + " is in several interfaces: " + joined(candidates));
    }
    if (found == nullptr) {
        const auto similar = similarMethods(name);
        refuseUsage("there is no method " + inQuotes(name) +
                    (similar.empty() ? "; see: jsondevice list" : "; did you mean " + joined(similar) + "?"));
    }
    return *found;
}

}  // namespace Tool
