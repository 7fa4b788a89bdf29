// The module of the base types: the patch, and the values and enumerations that all modules of
// the library share.

#include "Pseudowire/Patch.h"

#include "Pseudowire/Connector.h"
#include "Pseudowire/Dot1qTagOperation.h"
#include "Pseudowire/FlowLabelType.h"
#include "Pseudowire/PseudowireConnectorStatus.h"
#include "Pseudowire/PseudowireLdpStatusFlags.h"
#include "Pseudowire/PseudowireType.h"
#include "Pseudowire/QosMap.h"
#include "Pseudowire/TimeRange.h"
#include "Pseudowire/Vccv.h"
#include "Pseudowire/VidNormalization.h"
#include "frame/TypeModule.h"

constinit const Zin::ZinModule _Pseudowire_2685b2b7_zinModule = frame::moduleOf<
    Pseudowire::Patch,
    Pseudowire::ConnectorType,
    Pseudowire::Dot1qTagOperation,
    Pseudowire::FlowLabelDirection,
    Pseudowire::Fxc::VidNormalization,
    Pseudowire::PseudowireConnectorStatus,
    Pseudowire::PseudowireLdpStatusFlag,
    Pseudowire::PseudowireType,
    Pseudowire::QosMapType,
    Pseudowire::VccvCcType,
    Pseudowire::VccvCvType,
    Pseudowire::Connector,
    Pseudowire::ConnectorKey,
    Pseudowire::FlowLabelType,
    Pseudowire::PseudowireLdpKey,
    Pseudowire::PseudowireLdpStatusFlags,
    Pseudowire::QosMap,
    Pseudowire::TimeRange,
    Pseudowire::VccvCcTypes,
    Pseudowire::VccvCvTypes>("Pseudowire");

namespace Pseudowire {

namespace {

const Zin::ModuleRegistration registration(&_Pseudowire_2685b2b7_zinModule);

}  // namespace

}  // namespace Pseudowire
