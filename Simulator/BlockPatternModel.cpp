#include "Simulator/BlockPatternModel.h"

#include <cstddef>
#include <string>
#include <type_traits>
#include <vector>

#include "DeviceManager/JsonDevice/Vocabulary/BlockPatterns.h"
#include "Simulator/PatternLimits.h"

namespace JsonDevice::Simulation {

namespace {

constexpr int mostBlocks = 4096;
/// In either direction, of the binary-coded blocks.
constexpr int mostBinaryBlocks = 512;
constexpr int mostPixels = 65536;

Blocks::Block& blockAt(Blocks& pattern, int index) {
    checkLimits("index", index, 0, mostBlocks - 1);
    if (pattern.blocks.size() <= static_cast<std::size_t>(index)) {
        pattern.blocks.resize(static_cast<std::size_t>(index) + 1);
    }
    return pattern.blocks[static_cast<std::size_t>(index)];
}

/// All blocks or none.
void checkBlocks(int index, std::size_t count) {
    checkLimits("index", index, 0, mostBlocks - 1);
    if (count > static_cast<std::size_t>(mostBlocks - index)) {
        throw RequestError(ErrorCode::outOfRange,
                           "At most " + std::to_string(mostBlocks) + " blocks can be kept");
    }
}

}  // namespace

template <class Interface>
BlockPatternModel<Interface>::BlockPatternModel(RequestDispatcher& dispatcher, CodeTable& codeTable)
    : Feature(dispatcher, codeTable) {
    using Methods = Vocabulary::BlockPattern<Interface>;
    BlockPatternModel::restoreDefaults();

    requests.bind(Methods::setPatternMode, [this](int mode) {
        checkLimits("mode", mode, 0, 2);
        collected.mode = static_cast<Blocks::Mode>(mode);
    });
    requests.bind(Methods::getPatternMode, [this] { return static_cast<int>(collected.mode); });
    requests.bind(Methods::setDisplayMode, [this](int mode) {
        checkLimits("mode", mode, 0, 1);
        collected.transparent = mode == 1;
    });
    requests.bind(Methods::setGapColor, [this](int colour) { collected.gap = colourOf(colour); });

    requests.bind(Methods::getArbitraryBlockLimit, [] { return mostBlocks; });
    requests.bind(Methods::setArbitraryBlock,
                  [this](int index, const Point2I& pointA, const Point2I& pointB, int value) {
                      const Rgb colour = colourOf(value);
                      blockAt(collected, index) = {true, pointA, pointB, colour};
                  });
    requests.bind(Methods::setArbitraryBlocks,
                  [this](int index, const std::vector<Point2I>& points, const Point2I& pointB, int value) {
                      const Rgb colour = colourOf(value);
                      checkBlocks(index, points.size());
                      for (const Point2I& pointA : points) {
                          blockAt(collected, index++) = {true, pointA, pointB, colour};
                      }
                  });
    requests.bind(Methods::setArbitraryBlocks2,
                  [this](int index, const std::vector<Point2I>& pointsA, const std::vector<Point2I>& pointsB,
                         const std::vector<int>& values) {
                      if (pointsA.size() != pointsB.size() || pointsA.size() != values.size()) {
                          throw RequestError(ErrorCode::invalidParams, "The three lists differ in length");
                      }
                      checkBlocks(index, values.size());
                      for (const int value : values) {
                          static_cast<void>(colourOf(value));
                      }
                      for (std::size_t i = 0; i < values.size(); ++i) {
                          blockAt(collected, index++) = {true, pointsA[i], pointsB[i], colourOf(values[i])};
                      }
                  });
    requests.bind(Methods::clearArbitraryBlocks, [this] { collected.blocks.clear(); });
    requests.bind(Methods::setArbitraryBlockRange, [this](int first, int last) {
        checkLimits("first block", first, 0, mostBlocks - 1);
        checkLimits("last block", last, first, mostBlocks - 1);
        collected.first = first;
        collected.last = last;
    });

    requests.bind(Methods::setBinaryBlocksPerLine, [this](int count) {
        checkLimits("count", count, 0, mostBinaryBlocks);
        collected.perLine = count;
    });
    requests.bind(Methods::setBinaryNumBlockLines, [this](int count) {
        checkLimits("count", count, 0, mostBinaryBlocks);
        collected.lineCount = count;
    });
    requests.bind(Methods::setBinaryBlockColor, [this](int colour) { collected.colour = colourOf(colour); });
    requests.bind(Methods::setBinaryBlockExponent, [this](int bit, int inverted) {
        checkLimits("exponent", bit, 0, 31);
        checkLimits("inversion", inverted, 0, 1);
        collected.bit = bit;
        collected.inverted = inverted == 1;
    });
    requests.bind(Methods::setBinaryStartPosition,
                  [this](const Point2I& position) { collected.start = position; });
    requests.bind(Methods::setBinaryStartBlockCount, [this](int number) { collected.startNumber = number; });
    requests.bind(Methods::setBinaryBlockSize, [this](const Point2I& size) {
        checkLimits("width", size[0], 0, mostPixels);
        checkLimits("height", size[1], 0, mostPixels);
        collected.size = size;
    });
    requests.bind(Methods::setBinaryBlockSpacing, [this](const Point2I& spacing) {
        checkLimits("spacing", spacing[0], 0, mostPixels);
        checkLimits("spacing", spacing[1], 0, mostPixels);
        collected.spacing = spacing;
    });

    requests.bind(Methods::flushCommandQueue, [this] { applied = collected; });
}

template <class Interface>
void BlockPatternModel<Interface>::restoreDefaults() {
    collected = {};
    collected.last = mostBlocks - 1;
    applied = collected;
}

template <class Interface>
void BlockPatternModel<Interface>::show(Scene& scene) const {
    if constexpr (std::is_same_v<Interface, PreWarpBlockPatternInterface>) {
        scene.preWarpBlocks = applied;
    } else {
        scene.projectorBlocks = applied;
    }
}

template <class Interface>
void BlockPatternModel<Interface>::describe(Json::Value& state) const {
    const std::string method = Vocabulary::BlockPattern<Interface>::setPatternMode.name;
    Json::Value& own = state[method.substr(0, method.find("::"))];
    static constexpr const char* modes[] = {"off", "arbitrary", "binary"};
    own["mode"] = modes[static_cast<int>(applied.mode)];
    own["arbitrary blocks"] = static_cast<Json::UInt64>(applied.blocks.size());
    own["binary blocks"] = std::to_string(applied.perLine) + " x " + std::to_string(applied.lineCount);
    own["settings to flush"] = !(applied == collected);
}

template class BlockPatternModel<PreWarpBlockPatternInterface>;
template class BlockPatternModel<ProjectorBlockPatternInterface>;

}  // namespace JsonDevice::Simulation
