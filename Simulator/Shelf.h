#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Common/WideText.h"
#include "Simulator/CodeTable.h"
#include "Simulator/Store.h"

namespace JsonDevice::Simulation {

/// Things of one kind that a device stores, previews, selects and shows, one at
/// a time: warps, blends, masks, ...
///
/// A preview and a selection replace each other as what is active; showing
/// switches the effect of what is active on. Location 0 stands for none.
/// Operations on a location that does not exist, or is empty, throw RequestError.
template <class Content>
class Shelf {
public:
    static constexpr int firstLocation = 1;
    static constexpr int lastLocation = 4;

    /// `kind` names the content in errors ("warp"), `code` the selection in the table of codes.
    Shelf(CodeTable& codes, const std::string& kind, const std::string& code)
        : store(kind, firstLocation, lastLocation),
          kindName(kind),
          selected(codes,
                   {.code = code,
                    .summary = "The location of the active " + kind + "; 0 for none.",
                    .range = Range{0, lastLocation},
                    .readOnly = true},
                   0) {}

    /// An empty name is replaced by kind and location.
    void save(int location, std::wstring name, std::shared_ptr<const Content> content) {
        if (name.empty()) {
            name = toWide(kindName + " " + std::to_string(location));
        }
        store.save(location, std::move(name), std::move(content));
    }
    void checkLocation(int location) const { store.checkLocation(location); }
    void name(int location, std::wstring name) { store.at(location).name = std::move(name); }
    const Content& at(int location) const { return *store.at(location).content; }
    bool contains(int location) const { return store.contains(location); }
    std::vector<std::pair<int, std::wstring>> list() const { return store.list(); }
    /// What is deleted while it is selected is no more active.
    void remove(int location) {
        store.remove(location);
        if (selected.get() == location) {
            selected.set(0);
        }
    }

    /// The location that is selected; 0 for none.
    int getSelected() const { return selected.get(); }

    void preview(std::shared_ptr<const Content> content) {
        previewed = std::move(content);
        showing = true;
    }
    void select(int location) {
        if (location != 0) {
            store.at(location);
        }
        selected.set(location);
        previewed = nullptr;
        showing = true;
    }
    void show() { showing = true; }
    void clear() {
        for (const auto& [location, name] : store.list()) {
            store.remove(location);
        }
        selected.set(0);
        previewed = nullptr;
        showing = false;
    }

    /// What has its effect on the picture; null for none.
    std::shared_ptr<const Content> active() const {
        if (!showing) {
            return nullptr;
        }
        if (previewed) {
            return previewed;
        }
        return selected.get() == 0 ? nullptr : store.at(selected.get()).content;
    }

private:
    Store<std::shared_ptr<const Content>> store;
    std::string kindName;
    std::shared_ptr<const Content> previewed;
    bool showing = false;
    Property<Wire::Int> selected;
};

}  // namespace JsonDevice::Simulation
