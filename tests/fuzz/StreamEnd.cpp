#include "fuzz/StreamEnd.h"

#include "Zin/Exceptions.h"
#include "Zin/Module.h"

namespace fuzz {

using Zin::NboAttrLog::Access;
using Zin::NboAttrLog::headerSize;

std::vector<Bytes> messagesOf(std::span<const std::byte> stream) {
    std::vector<Bytes> messages;
    while (stream.size() >= headerSize && stream.size() - headerSize >= wordAt(stream, 0)) {
        const auto message = stream.first(headerSize + wordAt(stream, 0));
        messages.emplace_back(message.begin(), message.end());
        stream = stream.subspan(message.size());
    }
    return messages;
}

void fingerprintsAre(Bytes& stream, bool ofThisBuild) {
    constexpr std::size_t modulesAt = headerSize + 14;
    if (stream.size() < modulesAt) return;
    std::size_t at = modulesAt;
    while (stream.size() - at >= 4 && stream.size() - at - 4 >= wordAt(stream, at)) {
        const std::size_t length = wordAt(stream, at);
        const auto* const name = reinterpret_cast<const char*>(stream.data() + at + 4);
        const Zin::ZinModule* const module = Zin::moduleNamed({name, length});
        at += 4 + length;
        if (!module || stream.size() - at < 8) return;
        const bool isOpen = (wordAt(stream, at) | wordAt(stream, at + 4)) == 0;
        const std::uint64_t print = ofThisBuild ? module->fingerprint : 0;
        if (isOpen || !ofThisBuild) {
            wordIs(stream, at, static_cast<std::uint32_t>(print >> 32));
            wordIs(stream, at + 4, static_cast<std::uint32_t>(print));
        }
        at += 8;
    }
}

Types typesIn(std::span<const std::byte> stream) {
    static const auto names = [] {
        std::vector<Zin::String> all;
        for (const support::EntityType& type : support::rootTypes) {
            all.emplace_back(type.make("x")->fwkType().name());
        }
        return all;
    }();
    const std::string_view text(reinterpret_cast<const char*>(stream.data()), stream.size());
    Types types;
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (text.find(names[i].view()) != text.npos) types.push_back(&support::rootTypes[i]);
    }
    return types;
}

StreamEnd::StreamEnd(Types inQuestion, Access offeredFor)
    : types(std::move(inQuestion)), access(offeredFor) {
    constexpr unsigned changes = 6;
    laws::Random random(1);
    for (const support::EntityType* type : types) {
        const auto entity = type->make("offered");
        const Zin::String name(entity->fwkType().name());
        for (unsigned i = 0; i < changes; ++i) type->step(*entity, random);
        exports.exportIs(name, entity, access);
        offered.push_back(entity);
    }
    connection = std::make_unique<Zin::NboAttrLog::Connection>(exports, *this);
    for (std::size_t i = 0; i < types.size(); ++i) {
        // Every other one is made by the stream.
        const auto local = i % 2 ? nullptr : types[i]->make("mirror");
        connection->mount(Zin::String(offered[i]->fwkType().name()), local);
    }
}

void StreamEnd::step(laws::Random& random) {
    if (types.empty()) return;
    const std::size_t choice = laws::below(random, types.size() + mounted.size());
    Zin::Entity& entity =
        choice < types.size() ? *offered[choice] : *mounted[choice - types.size()];
    for (std::size_t i = 0; i < types.size(); ++i) {
        if (!(offered[i]->fwkType() == entity.fwkType())) continue;
        try {
            types[i]->step(entity, random);
        } catch (const Zin::WriteUpdateFromReadOnlyProxyException&) {
        }
    }
}

namespace {

support::State stateOf(const std::vector<Zin::Ptr<Zin::Entity>>& roots) {
    support::State state;
    for (std::size_t i = 0; i < roots.size(); ++i) {
        for (auto& [path, text] : support::dump(*roots[i])) {
            state[std::to_string(i) + '.' + path] = text;
        }
    }
    return state;
}

}  // namespace

support::State StreamEnd::offeredState() const {
    return stateOf(offered);
}

support::State StreamEnd::mountedState() const {
    return stateOf(mounted);
}

}  // namespace fuzz
