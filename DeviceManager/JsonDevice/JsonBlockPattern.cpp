#include "DeviceManager/JsonDevice/JsonBlockPattern.h"

#include "DeviceManager/JsonDevice/TypedCall.h"
#include "DeviceManager/JsonDevice/Vocabulary/BlockPatterns.h"

namespace JsonDevice {

template <class Interface>
using Methods = Vocabulary::BlockPattern<Interface>;

template <class Interface>
void JsonBlockPattern<Interface>::setPatternMode(int mode) {
    TypedCall::call(*connection, Methods<Interface>::setPatternMode, mode);
}

template <class Interface>
int JsonBlockPattern<Interface>::getPatternMode() {
    return TypedCall::call(*connection, Methods<Interface>::getPatternMode);
}

template <class Interface>
void JsonBlockPattern<Interface>::setDisplayMode(int mode) {
    TypedCall::call(*connection, Methods<Interface>::setDisplayMode, mode);
}

template <class Interface>
void JsonBlockPattern<Interface>::setGapColor(int color) {
    TypedCall::call(*connection, Methods<Interface>::setGapColor, color);
}

template <class Interface>
int JsonBlockPattern<Interface>::getArbitraryBlockLimit() {
    return TypedCall::call(*connection, Methods<Interface>::getArbitraryBlockLimit);
}

template <class Interface>
void JsonBlockPattern<Interface>::setArbitraryBlock(int index, const Point2I& pointA, const Point2I& pointB,
                                                    int value) {
    TypedCall::call(*connection, Methods<Interface>::setArbitraryBlock, index, pointA, pointB, value);
}

template <class Interface>
void JsonBlockPattern<Interface>::setArbitraryBlocks(int index, const std::vector<Point2I>& points,
                                                     const Point2I& pointB, int value) {
    TypedCall::call(*connection, Methods<Interface>::setArbitraryBlocks, index, points, pointB, value);
}

template <class Interface>
void JsonBlockPattern<Interface>::setArbitraryBlocks(int index,
                                                     const std::vector<typename Interface::Block>& blocks) {
    std::vector<Point2I> pointsA;
    std::vector<Point2I> pointsB;
    std::vector<int> values;
    pointsA.reserve(blocks.size());
    pointsB.reserve(blocks.size());
    values.reserve(blocks.size());
    for (const auto& block : blocks) {
        pointsA.push_back(block.pointA);
        pointsB.push_back(block.pointB);
        values.push_back(block.value);
    }
    TypedCall::call(*connection, Methods<Interface>::setArbitraryBlocks2, index, pointsA, pointsB, values);
}

template <class Interface>
void JsonBlockPattern<Interface>::clearArbitraryBlocks() {
    TypedCall::call(*connection, Methods<Interface>::clearArbitraryBlocks);
}

template <class Interface>
void JsonBlockPattern<Interface>::setArbitraryBlockRange(int value1, int value2) {
    TypedCall::call(*connection, Methods<Interface>::setArbitraryBlockRange, value1, value2);
}

template <class Interface>
void JsonBlockPattern<Interface>::setBinaryBlocksPerLine(int count) {
    TypedCall::call(*connection, Methods<Interface>::setBinaryBlocksPerLine, count);
}

template <class Interface>
void JsonBlockPattern<Interface>::setBinaryNumBlockLines(int count) {
    TypedCall::call(*connection, Methods<Interface>::setBinaryNumBlockLines, count);
}

template <class Interface>
void JsonBlockPattern<Interface>::setBinaryBlockColor(int color) {
    TypedCall::call(*connection, Methods<Interface>::setBinaryBlockColor, color);
}

template <class Interface>
void JsonBlockPattern<Interface>::setBinaryBlockExponent(int value1, int value2) {
    TypedCall::call(*connection, Methods<Interface>::setBinaryBlockExponent, value1, value2);
}

template <class Interface>
void JsonBlockPattern<Interface>::setBinaryStartPosition(const Point2I& position) {
    TypedCall::call(*connection, Methods<Interface>::setBinaryStartPosition, position);
}

template <class Interface>
void JsonBlockPattern<Interface>::setBinaryStartBlockCount(int count) {
    TypedCall::call(*connection, Methods<Interface>::setBinaryStartBlockCount, count);
}

template <class Interface>
void JsonBlockPattern<Interface>::setBinaryBlockSize(const Point2I& size) {
    TypedCall::call(*connection, Methods<Interface>::setBinaryBlockSize, size);
}

template <class Interface>
void JsonBlockPattern<Interface>::setBinaryBlockSpacing(const Point2I& spacing) {
    TypedCall::call(*connection, Methods<Interface>::setBinaryBlockSpacing, spacing);
}

template <class Interface>
void JsonBlockPattern<Interface>::flush() {
    TypedCall::call(*connection, Methods<Interface>::flushCommandQueue);
}

template class JsonBlockPattern<PreWarpBlockPatternInterface>;
template class JsonBlockPattern<ProjectorBlockPatternInterface>;

}  // namespace JsonDevice
