// The entity types that stand at the top of a directory, for whatever is tried with each of
// them: a type joins by standing here.

#pragma once

#include "Pseudowire/PseudowireConfig.h"
#include "Pseudowire/PseudowireIntfIdMapping.h"
#include "Pseudowire/PseudowireOxoTypes.h"
#include "Pseudowire/PseudowireStatus.h"
#include "Pseudowire/PwLabelBinding.h"
#include "Pseudowire/PwRemoteConnector.h"
#include "Pseudowire/PwRunnability.h"
#include "laws/RandomPlatformValues.h"
#include "support/LabTypes.h"
#include "support/Mutate.h"

namespace support {

inline constexpr EntityType rootTypes[] = {
    entityType<Lab::Bench>(),
    entityType<Pseudowire::Config>(),
    entityType<Pseudowire::Runnability>(),
    entityType<Pseudowire::Status>(),
    entityType<Pseudowire::Dot1qConnectorKeyMap>(),
    entityType<Pseudowire::PseudowireIntfIdMapping>(),
    entityType<OxoPw::PwHwStatus>(),
    entityType<Pseudowire::LabelBindingColl>(),
    entityType<Pseudowire::PseudowireAttributeStatusColl>(),
};

}  // namespace support
