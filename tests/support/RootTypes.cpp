#include "support/RootTypes.h"

#include "Pseudowire/PseudowireConfig.h"
#include "Pseudowire/PseudowireIntfIdMapping.h"
#include "Pseudowire/PseudowireOxoTypes.h"
#include "Pseudowire/PseudowireStatus.h"
#include "Pseudowire/PwCliPatch.h"
#include "Pseudowire/PwLabelBinding.h"
#include "Pseudowire/PwRemoteConnector.h"
#include "Pseudowire/PwRunnability.h"
#include "Pseudowire/VplsConfig.h"
#include "Pseudowire/VplsEthIntfStatus.h"
#include "Pseudowire/VplsForwardingStatus.h"
#include "laws/RandomPlatformValues.h"
#include "support/LabTypes.h"
#include "support/Mutate.h"

namespace support {

namespace {

constexpr EntityType types[] = {
    entityType<Lab::Bench>(),
    entityType<Pseudowire::Config>(),
    entityType<Pseudowire::Runnability>(),
    entityType<Pseudowire::Status>(),
    entityType<Pseudowire::Dot1qConnectorKeyMap>(),
    entityType<Pseudowire::PseudowireIntfIdMapping>(),
    entityType<OxoPw::PwHwStatus>(),
    entityType<Pseudowire::PatchPanel>(),
    entityType<Pseudowire::LabelBindingColl>(),
    entityType<Pseudowire::PseudowireAttributeStatusColl>(),
    entityType<Pseudowire::VplsConfig>(),
    entityType<Pseudowire::VplsForwardingStatus>(),
    entityType<Pseudowire::VplsEthIntfStatusDir>(),
};

}  // namespace

const std::span<const EntityType> rootTypes(types);

}  // namespace support
