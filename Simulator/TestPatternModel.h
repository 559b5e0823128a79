#pragma once

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Simulator/Feature.h"
#include "Simulator/Scene.h"

namespace JsonDevice::Simulation {

/// Built-in patterns, uploaded pictures, points, and what a caller draws. Two
/// interfaces draw, on the same sheet. What is drawn is collected until a flush.
class TestPatternModel : public Feature {
public:
    TestPatternModel(RequestDispatcher& dispatcher, CodeTable& codeTable);

    void restoreDefaults() override;
    void show(Scene& scene) const override;
    void describe(Json::Value& state) const override;

private:
    using Items = std::vector<std::pair<int, std::wstring>>;

    void checkPattern(int number) const;
    int upload(const std::string& base64, int slot);
    Items slots() const;
    void addPoints(const std::vector<Point2I>& more);
    void drawGrid(int spacingX, int spacingY, int red, int green, int blue);
    void drawBoxes(const std::vector<Point2I>& corners, int width, int height, int red, int green, int blue);
    void drawLine(int x0, int y0, int x1, int y1, int red, int green, int blue);
    void flush(bool visible);
    /// Forgets everything, or only what was drawn since the last flush.
    void clear(bool everything);

    std::map<int, std::shared_ptr<const Bitmap>> uploads;
    std::vector<Point2I> points;
    Drawing collected;
    Drawing flushed;
    bool drawingShown = false;

    Property<Wire::Int> pattern;
    Property<Wire::Int> pointColour;
    Property<Wire::Bool> pointsEnabled;
};

}  // namespace JsonDevice::Simulation
