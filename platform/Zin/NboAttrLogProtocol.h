// The numbers that two peers share (docs/wire-format.md).
//
// A message is a header of eight bytes, the payload's length and the message's id, and the
// payload. Attributes of entities are numbered from 258; ids below belong to the stream itself.
// Retired ids stay listed and are not given again.

#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "Zin/Export.h"

namespace Zin::NboAttrLog {

inline constexpr std::uint32_t protocolMagic = 0x5a4e414c;  // "ZNAL"
// Peers of another version are refused.
inline constexpr std::uint16_t protocolVersion = 1;

// Bytes of a message before its payload: the payload's length and the id, 32 bits each.
inline constexpr std::size_t headerSize = 8;

// The lowest number of an attribute. A deletion travels under the negated number.
inline constexpr std::uint32_t firstAttributeId = 258;

enum class MessageId : std::uint32_t {
    hello = 1,
    exported = 2,
    unexported = 3,
    mount = 4,
    mounted = 5,
    refused = 6,
    synced = 7,
    typeName = 8,
    select = 9,
    selectPeers = 10,
    transaction = 11,
    refresh = 12,
    barrier = 13,
    barrierReached = 14,
    unmount = 15,
    failed = 16,
    heard = 17,
    settle = 18,
    settled = 19,
};

// Whether a resynchronisation of a collection begins (what the receiver holds is marked) or
// ends (what is still marked is deleted).
enum class TransactionType : std::uint8_t { open = 0, close = 1 };

// What ended a stream.
enum class StreamErrorKind : std::uint8_t {
    protocol,        // not a peer of this protocol, or of a version that this one cannot read
    truncated,       // the peer closed in the middle of a message
    oversized,       // a message longer than the limit
    unknownMessage,  // an id that names no message
    unknownName,     // an entity, type or attribute that this side does not have
    malformed,       // a payload that does not hold what its message must hold
    outOfOrder,      // a message that does not fit what came before it
    readOnly,        // a write from a proxy to which the owner gave no right
    limit,           // the peer asked for more than this side is ready to hold
    resources,       // no memory to go on
    peerFailed,      // the peer found a fault and said so
};

// The enumerator's name.
ZIN_EXPORT std::string_view nameOf(StreamErrorKind kind) noexcept;

}  // namespace Zin::NboAttrLog
