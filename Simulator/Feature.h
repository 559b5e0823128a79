#pragma once

#include <chrono>
#include <type_traits>
#include <utility>

#include <json/value.h>

#include "Common/Export.h"
#include "Simulator/CodeTable.h"
#include "Simulator/RequestDispatcher.h"

namespace JsonDevice::Simulation {

struct Scene;

/// One feature of the simulated projector: its state, and the functions bound
/// to the methods of its interface. How to add one says the folder's README.
///
/// All of it runs under the projector's lock.
class JSONDEVICE_EXPORT Feature {
public:
    Feature(const Feature&) = delete;
    Feature& operator=(const Feature&) = delete;
    virtual ~Feature();

    /// Time has passed; called before each request and about once a second.
    virtual void advance(std::chrono::steady_clock::duration elapsed);

    /// The factory default, for what is no code: forgets what was stored.
    virtual void restoreDefaults();

    /// Adds what the feature has to do with the picture on the wall. The
    /// features are asked in the order in which the projector has them.
    virtual void show(Scene& scene) const;

    /// Adds what there is to know and has no code, for people: an object for
    /// each interface, by the name that stands before the "::" of its methods.
    virtual void describe(Json::Value& state) const;

protected:
    Feature(RequestDispatcher& dispatcher, CodeTable& codeTable) : requests(dispatcher), codes(codeTable) {}

    /// The method answers with the value.
    template <class Type>
    void serveGet(const Method<Type>& method, Property<Type>& property) {
        property.methods.emplace_back(method.name);
        requests.bind(method, [&property] { return property.get(); });
    }
    /// The method answers with the value as another type of the wire: a flag
    /// that is sent as an integer, an integer that is sent without a sign.
    template <class Result, class Type>
    void serveGet(const Method<Result>& method, Property<Type>& property) {
        property.methods.emplace_back(method.name);
        requests.bind(method, [&property] { return static_cast<typename Result::Native>(property.get()); });
    }
    /// The method sets the value; one with a result answers true.
    template <class Result, class Parameter, class Type>
    void serveSet(const Method<Result, Parameter>& method, Property<Type>& property) {
        static_assert(std::is_same_v<Result, Wire::Void> || std::is_same_v<Result, Wire::Bool>);
        property.methods.emplace_back(method.name);
        requests.bind(method, [&property](typename Parameter::Received value) {
            if constexpr (std::is_same_v<typename Parameter::Received, typename Type::Native>) {
                property.set(std::move(value));
            } else {
                property.set(static_cast<typename Type::Native>(value));
            }
            return typename Result::Native(true);
        });
    }

    /// The methods answer with the ends of the value's range.
    template <class Result, class Type>
    void serveRange(const Method<Result>& minimum, const Method<Result>& maximum,
                    const Property<Type>& property) {
        const Range range = property.getDescription().range.value();
        using Native = typename Result::Native;
        requests.bind(minimum, [least = static_cast<Native>(range.minimum)] { return least; });
        requests.bind(maximum, [most = static_cast<Native>(range.maximum)] { return most; });
    }

    RequestDispatcher& requests;
    CodeTable& codes;
};

}  // namespace JsonDevice::Simulation
