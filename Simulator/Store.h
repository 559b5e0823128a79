#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "Simulator/RequestError.h"

namespace JsonDevice::Simulation {

/// Things of one kind that a device keeps under locations, each with a name.
/// Whatever names a location outside of the range or an empty one is answered
/// with an error.
template <class Content>
class Store {
public:
    struct Item {
        std::wstring name;
        Content content;
    };

    /// `kind` says in errors what is stored ("warp"); the range includes both ends.
    Store(std::string kindOfContent, int firstLocation, int lastLocation)
        : kind(std::move(kindOfContent)), first(firstLocation), last(lastLocation) {}

    /// Throws RequestError outside of the range.
    void checkLocation(int location) const {
        if (location < first || location > last) {
            throw RequestError(ErrorCode::outOfRange, kind + " location " + std::to_string(location) +
                                                          " is not within " + std::to_string(first) + " to " +
                                                          std::to_string(last));
        }
    }
    /// Replaces what was there.
    void save(int location, std::wstring name, Content content) {
        checkLocation(location);
        items.insert_or_assign(location, Item{std::move(name), std::move(content)});
    }
    Item& at(int location) { return const_cast<Item&>(std::as_const(*this).at(location)); }
    const Item& at(int location) const {
        checkLocation(location);
        const auto found = items.find(location);
        if (found == items.end()) {
            throw RequestError(ErrorCode::notFound,
                               "There is no " + kind + " at " + std::to_string(location));
        }
        return found->second;
    }
    bool contains(int location) const { return items.contains(location); }
    void remove(int location) {
        at(location);
        items.erase(location);
    }
    /// (location, name) of each, by location.
    std::vector<std::pair<int, std::wstring>> list() const {
        std::vector<std::pair<int, std::wstring>> all;
        for (const auto& [location, item] : items) {
            all.emplace_back(location, item.name);
        }
        return all;
    }

private:
    std::string kind;
    int first;
    int last;
    std::map<int, Item> items;
};

}  // namespace JsonDevice::Simulation
