// PseudowireId is the number that both ends of a pseudowire are configured with: the "PW ID" of
// the PWid FEC element (RFC 8077). 0 stands for none.

#pragma once

#include <cstdint>

namespace Pseudowire {

using PseudowireId = std::uint32_t;

}  // namespace Pseudowire
