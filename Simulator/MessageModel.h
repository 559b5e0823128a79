#pragma once

#include <set>
#include <string>

#include "Simulator/Feature.h"

namespace JsonDevice::Simulation {

/// The message-level requests "get", "set", "getAttributes" and
/// "getProperties", and the notifications to those who use them.
class MessageModel : public Feature {
public:
    MessageModel(RequestDispatcher& dispatcher, CodeTable& codeTable);

    void forget(Caller& caller);
    /// Whose request is being served, null between requests: he is not told of
    /// the changes that he makes.
    void setAsking(const Caller* caller) { asking = caller; }

private:
    using Answer = Json::Value (*)(Code& code, const Json::Value* value);
    void serve(const char* method, bool takesValue, Answer answer);
    void tell(const Code& changed) const;

    std::set<Caller*> listeners;
    const Caller* asking = nullptr;
};

}  // namespace JsonDevice::Simulation
