#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <json/value.h>

#include "ImageFiles/ImageFile.h"
#include "Platform/Devices/Mesh.h"
#include "Platform/Devices/WarpLineSegment.h"

/// Files with meshes, maps and pictures, as commands send them. Whatever is
/// wrong with a file refuses the command line, before anything is sent.
namespace Tool {

using Size = std::pair<int, int>;

/// "1920x1200"; nothing for an empty text.
std::optional<Size> parseSize(const std::string& text);
std::string toText(Size size);

/// From the text form of a mesh, or from a colour PFM that has the x and y of
/// each control point as red and green. Only the latter needs to be told the
/// size of the picture.
Mesh readMesh(const std::string& file, std::optional<Size> size);

/// A map is grey.
ImageFiles::Picture readMap(const std::string& file);
/// A picture of one or three channels.
ImageFiles::Picture readImage(const std::string& file);

Json::Value meshParameter(const Mesh& mesh);
/// A "BlendProxy"; null for no map.
Json::Value blendParameter(const ImageFiles::Picture* map, const std::string& name);
Json::Value blackLevelParameter(const ImageFiles::Picture& map, const std::string& name,
                                const std::vector<double>& factors);
Json::Value contentParameter(const ImageFiles::Picture& picture, const std::string& name);

/// The mesh as a picture of at most 1920 pixels each way: what becomes of a
/// regular grid of lines, and in red the segments, whose ends are places of the
/// picture that the mesh moves.
ImageFiles::Picture drawMesh(Mesh& mesh, const std::vector<WarpLineSegment>& segments);

}  // namespace Tool
