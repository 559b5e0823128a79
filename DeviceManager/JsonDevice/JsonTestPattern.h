#pragma once

#include <string>
#include <utility>
#include <vector>

#include "DeviceManager/JsonDevice/JsonAdapter.h"
#include "Platform/Devices/TestPatternInterface.h"

class UploadTestPatternInterface;

namespace JsonDevice {

/// Keeps nothing of what is drawn: each call is one request, a flush too.
class JSONDEVICE_EXPORT JsonTestPattern : public JsonAdapter<TestPatternInterface> {
public:
    /// `upload` may be null and is not owned: the list of patterns then ends with its slots.
    JsonTestPattern(Device* device, UploadTestPatternInterface* upload);
    JsonTestPattern(Communicator* communicator, UploadTestPatternInterface* upload);
    ~JsonTestPattern() override;

    void setInternalTestPattern(unsigned int pattern) override;
    int getInternalTestPattern() override;
    /// Asks the device, then the upload interface; a failure of either leaves the list as it was.
    const std::vector<std::pair<int, std::wstring>>& getInternalTestPatternList() override;
    bool isInternalTestPatternShowing() override;
    void clearPointTestPattern() override;
    void setPointTestPatternColor(TestPatternColour colour) override;
    void enablePointTestPattern(bool enable) override;
    void addPointTestPattern(const std::vector<Point2I>& points) override;
    void setPointTestPattern(const std::vector<Point2I>& points) override;
    void flushUserTestPattern() override;
    void clearUserTestPattern() override;
    void showUserTestPatternGrid(int value1, int value2, int value3, int value4, int value5) override;
    void drawBoxes(const std::vector<Point2I>& corners, int value1, int value2, int value3, int value4,
                   int value5) override;
    void drawLines(int value1, int value2, int value3, int value4, int value5, int value6,
                   int value7) override;

private:
    UploadTestPatternInterface* upload;
    std::vector<std::pair<int, std::wstring>> patterns;
};

}  // namespace JsonDevice
