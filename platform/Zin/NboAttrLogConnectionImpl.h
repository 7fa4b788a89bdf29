// What the sources of Connection share.

#pragma once

#include <cstddef>
#include <string>

#include "Zin/NboAttrLogConnection.h"

namespace Zin::NboAttrLog {

// Thrown by what finds a fault in a message, caught where messages are taken.
struct Connection::StreamFailure {
    StreamErrorKind kind;
    std::string text;
};

inline std::size_t indexOf(Role role) {
    return static_cast<std::size_t>(role);
}

inline std::string quoted(const String& name) {
    std::string text;
    appendQuoted(text, name.view());
    return text;
}

template <class... Values>
void Connection::send(MessageId id, const Values&... values) {
    Out out = message(static_cast<std::uint32_t>(id), (attrLogSize(values) + ... + 0));
    static_cast<void>((out << ... << values));
    commit();
}

}  // namespace Zin::NboAttrLog
