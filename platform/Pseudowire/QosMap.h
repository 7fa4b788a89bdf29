// QosMap names the table by which a pseudowire's traffic keeps its priority: between the
// traffic class of the switch and the traffic class field of MPLS labels (RFC 5462).

#pragma once

#include <cstdint>
#include <utility>

#include "Pseudowire/Strep.h"
#include "Zin/Enum.h"
#include "Zin/String.h"
#include "Zin/Value.h"

namespace Pseudowire {

enum class QosMapType : std::uint8_t {
    unset,
    mplsToTrafficClass,  // on arrival from the pseudowire
    trafficClassToMpls,  // on the way into the pseudowire
};

consteval auto enumeration(QosMapType) {
    using enum QosMapType;
    return describe::enumerators<QosMapType>(
        "Pseudowire::QosMapType",
        {{unset, "unset"},
         {mplsToTrafficClass, "mplsToTrafficClass"},
         {trafficClassToMpls, "trafficClassToMpls"}});
}

class QosMap : public Zin::Value<QosMap> {
  public:
    // The name of the map that is in force where none is configured.
    static constexpr const char* defaultMapName = "default-map";

    static consteval auto schema() {
        return describe::value(
            "Pseudowire::QosMap",
            describe::field<&QosMap::mapName_>("mapName"),
            describe::field<&QosMap::mapType_>("mapType"));
    }

    QosMap() = default;
    QosMap(Zin::String mapName, QosMapType mapType)
        : mapName_(std::move(mapName)), mapType_(mapType) {}

    const Zin::String& mapName() const { return mapName_; }
    void mapNameIs(Zin::String mapName) { mapName_ = std::move(mapName); }
    QosMapType mapType() const { return mapType_; }
    void mapTypeIs(QosMapType mapType) { mapType_ = mapType; }

  private:
    Zin::String mapName_ = defaultMapName;
    QosMapType mapType_ = QosMapType::unset;
};

}  // namespace Pseudowire
