#include "Vorn/IpGenAddr.h"

#include <algorithm>
#include <string>

#include "Vorn/InetText.h"
#include "Zin/Exceptions.h"
#include "Zin/NboAttrLogIn.h"

namespace Vorn {

namespace {

constexpr std::uint32_t mostFamily = static_cast<std::uint32_t>(AddressFamily::ip6);

// REQUIRES: the family is known.
std::size_t bytesOf(AddressFamily family) {
    constexpr std::array<std::size_t, mostFamily + 1> bytes{0, 4, 16};
    return bytes[static_cast<std::size_t>(family)];
}

bool fits(AddressFamily family, const Ip6Addr& address) {
    const Ip6Addr::Bytes& bytes = address.bytes();
    return std::all_of(
        bytes.begin() + static_cast<std::ptrdiff_t>(bytesOf(family)),
        bytes.end(),
        [](std::uint8_t byte) { return byte == 0; });
}

}  // namespace

IpGenAddr::IpGenAddr(AddressFamily family, const Ip6Addr& address)
    : family_(family), address_(address) {
    if (static_cast<std::uint32_t>(family) > mostFamily) {
        Zin::throwRangeException(
            "Vorn::IpGenAddr::family " + std::string(Zin::stringValue(family).view()) +
            " not allowed");
    }
    if (!fits(family, address)) {
        Zin::throwRangeException(
            "Vorn::IpGenAddr::address " + std::string(address.stringValue().view()) +
            " not allowed for family " + std::string(Zin::stringValue(family).view()));
    }
}

IpGenAddr::IpGenAddr(const Ip4Bytes& bytes) : family_(AddressFamily::ip4) {
    Ip6Addr::Bytes all{};
    std::copy(bytes.begin(), bytes.end(), all.begin());
    address_.bytesIs(all);
}

Zin::String IpGenAddr::stringValue() const {
    if (family_ == AddressFamily::none) return "none";
    if (family_ == AddressFamily::ip6) return address_.stringValue();
    const Ip6Addr::Bytes& bytes = address_.bytes();
    std::string text = std::to_string(bytes[0]);
    for (const std::uint8_t byte : {bytes[1], bytes[2], bytes[3]}) {
        text += '.' + std::to_string(byte);
    }
    return text;
}

IpGenAddr IpGenAddr::textNext(Zin::TextReader& reader) {
    if (reader.skip("none")) return IpGenAddr();
    Zin::TextReader ahead = reader;
    const std::string_view word = ahead.run("0123456789abcdefABCDEF:.");
    if (word.empty()) reader.fail("an IPv4 or IPv6 address");
    if (word.find(':') == std::string_view::npos) return ip4TextNext(reader);
    return IpGenAddr(Ip6Addr::textNext(reader));
}

IpGenAddr IpGenAddr::ip4TextNext(Zin::TextReader& reader) {
    const Zin::TextReader start = reader;
    Ip4Bytes bytes;
    if (!inetBytes(AF_INET, reader.run("0123456789."), bytes.data())) {
        start.fail("an IPv4 address");
    }
    return IpGenAddr(bytes);
}

IpGenAddr IpGenAddr::attrLogNext(Zin::NboAttrLog::In& in) {
    const Zin::NboAttrLog::In start = in;
    const std::uint32_t family = in.nextU32();
    if (family > mostFamily) {
        start.fail("an address family from 0 to 2", "family " + std::to_string(family));
    }
    IpGenAddr read;
    read.family_ = static_cast<AddressFamily>(family);
    read.address_ = in.next<Ip6Addr>();
    if (!fits(read.family_, read.address_)) {
        start.fail(
            "zeros behind an address of family " + std::to_string(family),
            read.address_.stringValue());
    }
    return read;
}

}  // namespace Vorn
