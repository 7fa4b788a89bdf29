// What each PseudowireConnectorStatus means in words, and what both ends of a pseudowire say
// that bears it out or speaks against it.

#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Pseudowire/PseudowireConnectorStatus.h"
#include "Pseudowire/PseudowireLdpStatusFlags.h"
#include "Pseudowire/PseudowireType.h"
#include "Pseudowire/PwRemoteConnector.h"

namespace corra {

using Pseudowire::PseudowireConnectorStatus;

// A clause such as "no remote label from 3.3.3.3". A number that this build does not know is
// said as such.
std::string wordsOf(PseudowireConnectorStatus status, const std::string& peer = "the peer");

// A fact with the paths to where it lies.
template <class T>
struct Known {
    std::optional<T> value;
    std::vector<std::string> places;
};

// Both ends of a pseudowire, as far as they are known.
struct Ends {
    // "3.3.3.3", or "the peer".
    std::string peer;
    // Ignored: whether the MTUs agree.
    Known<bool> mtuIgnore;
    Known<std::uint32_t> localMtu, remoteMtu;
    Known<bool> localControlWord, remoteControlWord;
    Known<Pseudowire::PseudowireType> localType, remoteType;
    // A label that is known not to exist is MplsLabel::noLabel.
    Known<std::uint32_t> localLabel, remoteLabel;
    Known<Pseudowire::PseudowireLdpStatusFlags> flags;
    Known<std::uint32_t> requestedTag;
    Known<std::string> tunnel;
};

struct Finding {
    // Whether it is so; nothing where the ends do not tell.
    std::optional<bool> holds;
    // That it is so, with the values of both sides, or that it is not.
    std::string words;
    std::vector<std::string> places;
};

// Whether this reason holds for the pseudowire.
Finding findingOf(PseudowireConnectorStatus status, const Ends& ends);

// The names of the registry, each in quotes.
std::string wordsOf(Pseudowire::PseudowireLdpStatusFlags flags);

}  // namespace corra
