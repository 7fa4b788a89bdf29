#include "Zin/NboAttrLogIn.h"

#include <string>

namespace Zin::NboAttrLog {

DecodeException::DecodeException(
    std::size_t position,
    std::string_view expected,
    std::string_view found)
    : Exception(
          "expected " + std::string(expected) + " at payload byte " + std::to_string(position) +
          ", found " + std::string(found)),
      position_(position) {}

DecodeException::~DecodeException() = default;

String In::nextString() {
    const std::uint32_t size = nextU32();
    if (size > left()) {
        at_ -= 4;
        fail(
            "a string within the message",
            "a length of " + std::to_string(size) + " with " + std::to_string(left() - 4) +
                " bytes left");
    }
    const std::string_view bytes(
        reinterpret_cast<const char*>(payload_.data() + at_),
        static_cast<std::size_t>(size));
    at_ += size;
    return String(bytes);
}

std::uint32_t In::peekEntityId() const {
    if (left() < 4) failShort(4);
    return wordAt<std::uint32_t>(payload_.data() + at_);
}

void In::skip(std::size_t size) {
    if (size > left()) failShort(size);
    at_ += size;
}

void In::failLong() const {
    fail("the end of the message", std::to_string(left()) + " bytes more");
}

void In::fail(std::string_view expected, std::string_view found) const {
    throw DecodeException(at_, expected, found);
}

void In::failBool(std::uint8_t byte) {
    --at_;
    fail("a bool (0 or 1)", "byte " + std::to_string(byte));
}

void In::failShort(std::size_t needed) const {
    fail(
        std::to_string(needed) + " bytes more",
        std::to_string(left()) + " before the end of the message");
}

}  // namespace Zin::NboAttrLog
