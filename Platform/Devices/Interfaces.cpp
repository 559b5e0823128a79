// The destructors of the interface classes, so that each has its type information in this one library.
#include "Platform/Devices/BlackLevelInterface.h"
#include "Platform/Devices/BlendingInterface.h"
#include "Platform/Devices/BlockPatternInterface.h"
#include "Platform/Devices/CheckPatternInterface.h"
#include "Platform/Devices/ColorInterface.h"
#include "Platform/Devices/ControlInterface.h"
#include "Platform/Devices/GammaInterface.h"
#include "Platform/Devices/GridTestPatternInterface.h"
#include "Platform/Devices/IGInterface.h"
#include "Platform/Devices/MaskingInterface.h"
#include "Platform/Devices/ModelInterface.h"
#include "Platform/Devices/PreWarpBlockPatternInterface.h"
#include "Platform/Devices/ProjectorBlockPatternInterface.h"
#include "Platform/Devices/RemoteInterface.h"
#include "Platform/Devices/StatusInterface.h"
#include "Platform/Devices/TestPatternInterface.h"
#include "Platform/Devices/UploadTestPatternInterface.h"
#include "Platform/Devices/UserTestPatternInterface.h"
#include "Platform/Devices/WarpInterface.h"

BlackLevelInterface::~BlackLevelInterface() = default;
BlendingInterface::~BlendingInterface() = default;
BlockPatternInterface::~BlockPatternInterface() = default;
CheckPatternInterface::~CheckPatternInterface() = default;
ColorInterface::~ColorInterface() = default;
ControlInterface::~ControlInterface() = default;
GammaInterface::~GammaInterface() = default;
GridTestPatternInterface::~GridTestPatternInterface() = default;
IGInterface::~IGInterface() = default;
MaskingInterface::~MaskingInterface() = default;
ModelInterface::~ModelInterface() = default;
PreWarpBlockPatternInterface::~PreWarpBlockPatternInterface() = default;
ProjectorBlockPatternInterface::~ProjectorBlockPatternInterface() = default;
RemoteInterface::~RemoteInterface() = default;
StatusInterface::~StatusInterface() = default;
TestPatternInterface::~TestPatternInterface() = default;
UploadTestPatternInterface::~UploadTestPatternInterface() = default;
UserTestPatternInterface::~UserTestPatternInterface() = default;
WarpInterface::~WarpInterface() = default;
