#include "corra/WhyStatus.h"

#include <algorithm>
#include <iterator>

#include "Vorn/MplsLabel.h"

namespace corra {

namespace {

using Pseudowire::PseudowireLdpStatusFlag;
using Pseudowire::PseudowireLdpStatusFlags;
using Pseudowire::PseudowireType;
using enum PseudowireConnectorStatus;

// "%" stands for the peer.
constexpr struct {
    PseudowireConnectorStatus status;
    const char* words;
} statusWords[] = {
    {unknown, "nothing was worked out yet"},
    {up, "it forwards"},
    {adminDown, "disabled by configuration"},
    {notConfigured, "there is no such connector in the configuration"},
    {patchIncomplete, "the patch joins fewer than two connectors"},
    {conflict, "its circuit, pseudowire id or connector is in use elsewhere"},
    {localCircuitMissing, "the interface of the attachment circuit does not exist"},
    {localCircuitDown, "the attachment circuit is not forwarding"},
    {noLocalLabel, "no label could be allocated here"},
    {noSession, "no session with %"},
    {noRemoteEnd, "no remote label from %"},
    {pwTypeMismatch, "the pseudowire types differ"},
    {controlWordMismatch, "one end uses the control word and the other does not"},
    {mtuMismatch, "the MTUs differ"},
    {dot1qTagMismatch, "the VLAN id that was requested cannot be met"},
    {remoteRejected, "% released the label that it was given"},
    {noTunnel, "no tunnel leads to %"},
    {remoteNotForwarding, "% is not forwarding"},
    {remoteCircuitFault, "% reports a fault of its attachment circuit"},
    {remoteTunnelFault, "% reports a fault towards the packet network"},
    {standby, "another pseudowire of the redundancy group forwards"},
    {hardwareNotProgrammed, "the forwarding hardware did not take it"},
};

template <class... Facts>
std::vector<std::string> placesOf(const Facts&... facts) {
    std::vector<std::string> places;
    for (const auto* const each : {&facts.places...}) {
        for (const std::string& place : *each) {
            if (std::find(places.begin(), places.end(), place) == places.end()) {
                places.push_back(place);
            }
        }
    }
    return places;
}

std::string nameOf(PseudowireType type) {
    const std::string name = Pseudowire::registryName(type);
    return name.empty() ? "type " + std::to_string(static_cast<unsigned>(type)) : name;
}

Finding typesOf(const Ends& ends) {
    const PseudowireType here = ends.localType.value.value_or(PseudowireType::unset);
    const PseudowireType there = ends.remoteType.value.value_or(PseudowireType::unset);
    if (here == PseudowireType::unset || there == PseudowireType::unset) return {};
    const auto places = placesOf(ends.localType, ends.remoteType);
    const bool isWild = here == PseudowireType::wildcard || there == PseudowireType::wildcard;
    if (here == there || isWild) {
        return {false, "the pseudowire types agree: " + nameOf(there), places};
    }
    return {
        true,
        "type " + nameOf(here) + " here and " + nameOf(there) + " at " + ends.peer,
        places};
}

Finding controlWordsOf(const Ends& ends) {
    const auto &here = ends.localControlWord, &there = ends.remoteControlWord;
    if (!here.value || !there.value) return {};
    const auto places = placesOf(here, there);
    if (*here.value == *there.value) {
        return {
            false,
            *here.value ? "both ends use the control word"
                        : "neither end uses the control word",
            places};
    }
    return {
        true,
        *here.value ? "control word used here and not at " + ends.peer
                    : "control word not used here but at " + ends.peer,
        places};
}

Finding mtusOf(const Ends& ends) {
    const std::uint32_t here = ends.localMtu.value.value_or(0);
    const std::uint32_t there = ends.remoteMtu.value.value_or(0);
    if (here == 0 || there == 0) return {};
    const auto places = placesOf(ends.localMtu, ends.remoteMtu);
    if (here == there) return {false, "the MTUs agree: " + std::to_string(here), places};
    return {
        true,
        "MTU " + std::to_string(here) + " here and " + std::to_string(there) + " at " +
            ends.peer,
        places};
}

bool isLabel(const Known<std::uint32_t>& label) {
    return label.value && *label.value != Vorn::MplsLabel::noLabel;
}

// Of a label that must be there, and is not when the reason holds.
Finding missing(
    PseudowireConnectorStatus reason,
    const Known<std::uint32_t>& label,
    const std::string& whose,
    const Ends& ends) {
    if (!label.value) return {};
    if (isLabel(label)) {
        return {false, "label " + std::to_string(*label.value) + whose, label.places};
    }
    return {true, wordsOf(reason, ends.peer), label.places};
}

Finding reported(const Ends& ends, std::initializer_list<PseudowireLdpStatusFlag> any) {
    if (!ends.flags.value) return {};
    const PseudowireLdpStatusFlags flags = *ends.flags.value;
    const bool holds = std::any_of(any.begin(), any.end(), [&](PseudowireLdpStatusFlag flag) {
        return (flags.value() & static_cast<std::uint32_t>(flag)) != 0;
    });
    const std::string what = flags.value() == 0 ? "no fault" : wordsOf(flags);
    return {holds, ends.peer + " reports " + what, ends.flags.places};
}

}  // namespace

std::string wordsOf(PseudowireConnectorStatus status, const std::string& peer) {
    const auto* const found =
        std::find_if(std::begin(statusWords), std::end(statusWords), [&](const auto& each) {
            return each.status == status;
        });
    if (found == std::end(statusWords)) {
        return "for the reason number " + std::to_string(static_cast<unsigned>(status)) +
               ", which is not known here";
    }
    std::string words = found->words;
    if (const auto at = words.find('%'); at != std::string::npos) words.replace(at, 1, peer);
    return words;
}

std::string wordsOf(PseudowireLdpStatusFlags flags) {
    std::string words;
    std::uint32_t left = flags.value();
    const auto add = [&](const std::string& name) {
        words += (words.empty() ? "" : ", ") + name;
    };
    for (const auto& each : describe::enumerationOf<PseudowireLdpStatusFlag>.enumerators) {
        if ((left & each.number) == 0) continue;
        left &= ~each.number;
        add('"' + std::string(registryName(PseudowireLdpStatusFlag(each.number))) + '"');
    }
    if (left != 0) {
        add("the status bits " +
            std::string(PseudowireLdpStatusFlags(left).stringValue().view()));
    }
    return words.empty() ? "no fault" : words;
}

Finding findingOf(PseudowireConnectorStatus status, const Ends& ends) {
    const auto& tag = ends.requestedTag;
    Finding finding;
    switch (status) {
        case noLocalLabel:
            finding = missing(status, ends.localLabel, " is bound here", ends);
            break;
        case noSession:
            // Labels come by way of a session; that there is none proves nothing.
            if (isLabel(ends.remoteLabel)) {
                finding =
                    missing(status, ends.remoteLabel, " of " + ends.peer + " is held", ends);
            }
            break;
        case noRemoteEnd:
            finding = missing(status, ends.remoteLabel, " came from " + ends.peer, ends);
            break;
        case pwTypeMismatch:
            finding = typesOf(ends);
            break;
        case controlWordMismatch:
            finding = controlWordsOf(ends);
            break;
        case mtuMismatch:
            finding = mtusOf(ends);
            break;
        case dot1qTagMismatch:
            if (tag.value) {
                finding.words = "VLAN id " + std::to_string(*tag.value) + ", which " +
                                ends.peer + " requests, cannot be met";
                finding.places = tag.places;
            }
            break;
        case noTunnel:
            if (ends.tunnel.value) {
                finding = {
                    false,
                    "tunnel " + *ends.tunnel.value + " leads to " + ends.peer,
                    ends.tunnel.places};
            }
            break;
        case remoteNotForwarding:
            finding = reported(ends, {PseudowireLdpStatusFlag::notForwarding});
            break;
        case remoteCircuitFault:
            finding = reported(
                ends,
                {PseudowireLdpStatusFlag::localCircuitReceiveFault,
                 PseudowireLdpStatusFlag::localCircuitTransmitFault});
            break;
        case remoteTunnelFault:
            finding = reported(
                ends,
                {PseudowireLdpStatusFlag::psnReceiveFault,
                 PseudowireLdpStatusFlag::psnTransmitFault});
            break;
        case unknown:
        case up:
        case adminDown:
        case notConfigured:
        case patchIncomplete:
        case conflict:
        case localCircuitMissing:
        case localCircuitDown:
        case remoteRejected:
        case standby:
        case hardwareNotProgrammed:
            break;
    }
    if (finding.words.empty()) finding.words = wordsOf(status, ends.peer);
    return finding;
}

}  // namespace corra
