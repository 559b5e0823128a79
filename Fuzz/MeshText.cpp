// A mesh's text is refused, or is a mesh whose own text reads back equal and
// that can be evaluated.

#include <cmath>
#include <string_view>

#include "Common/Exceptions.h"
#include "Fuzz/Fuzz.h"
#include "Platform/Devices/Mesh.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    try {
        Mesh mesh = Mesh::fromText(std::string_view(reinterpret_cast<const char*>(data), size));
        require(Mesh::fromText(mesh.toText()) == mesh);
        mesh.prepareRows();
        mesh.prepareColumns();
        const auto [width, height] = mesh.getSize();
        const auto [x, y] = mesh.evaluate(static_cast<float>(width) / 3, static_cast<float>(height) + 1);
        require(std::isfinite(x) && std::isfinite(y));
    } catch (const KorvanParseException&) {
    }
    return 0;
}
