#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <string>

#include "Common/Export.h"

class BaseInterface;

/// Told of changes in an interface; what happened is the interface's own word.
using InterfaceObserver = std::function<void(BaseInterface&, const std::string& what)>;

/// The base of every device interface: it knows what kind of interface it is
/// and keeps the observers of it.
///
/// Observers may be registered, removed and told from any thread. An observer
/// is called outside the lock, on the thread that called updateObservers, and
/// may register and remove observers itself; one that was removed while a
/// round was under way may still get that round's call.
class JSONDEVICE_EXPORT BaseInterface {
public:
    BaseInterface();
    BaseInterface(const BaseInterface&) = delete;
    BaseInterface& operator=(const BaseInterface&) = delete;
    virtual ~BaseInterface();

    /// The name of the interface class, for example "StatusInterface".
    virtual std::string getInterfaceType() const = 0;
    /// Forgets the observer that registerObserver2 numbered so. An unknown number is ignored.
    virtual void deregisterObserver(int number);
    /// Calls every observer, in the order of registration. What one throws ends the round and passes on.
    virtual void updateObservers(const std::string& what);
    /// Adds an observer and returns the number under which it can be removed; numbers are not used again.
    virtual int registerObserver2(InterfaceObserver observer);

private:
    std::mutex observersLock;
    std::map<int, InterfaceObserver> observers;
    int lastNumber = 0;
};
