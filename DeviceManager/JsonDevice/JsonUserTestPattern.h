#pragma once

#include <vector>

#include "DeviceManager/JsonDevice/JsonAdapter.h"
#include "Platform/Devices/UserTestPatternInterface.h"

namespace JsonDevice {

/// Keeps nothing of what is drawn: each call is one request, a flush too.
class JSONDEVICE_EXPORT JsonUserTestPattern : public JsonAdapter<UserTestPatternInterface> {
public:
    explicit JsonUserTestPattern(Device* device);
    explicit JsonUserTestPattern(Communicator* communicator);
    ~JsonUserTestPattern() override;

    void flushUserTestPattern(bool flag) override;
    void clearUserTestPattern(bool flag) override;
    void showUserTestPatternGrid(int value1, int value2, int value3, int value4, int value5) override;
    void drawBoxes(const std::vector<Point2I>& corners, int value1, int value2, int value3, int value4,
                   int value5) override;
    void drawLines(int value1, int value2, int value3, int value4, int value5, int value6,
                   int value7) override;
    bool isUserTestPatternDisplayed() override;
    /// 65536 in place of every KorvanParseException: a device that does not tell
    /// its limit, because it answers otherwise, with an error or not at all, is
    /// taken to have a generous one. What the transport throws passes.
    unsigned int getBoxLimit() const override;
};

}  // namespace JsonDevice
