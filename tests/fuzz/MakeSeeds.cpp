// Writes the seeds of the fuzz targets that the library itself can write, the same each time:
//
//     fuzz_seeds DIRECTORY
//
// makes DIRECTORY/TARGET/NAME. Seeds of captures, and those with "by-hand" in their names, are
// written by hand.

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>

#include "Zin/Any.h"
#include "Zin/Exceptions.h"
#include "Zin/Module.h"
#include "corra/StateFile.h"
#include "fuzz/StreamEnd.h"

namespace {

using fuzz::Bytes;
using Zin::NboAttrLog::Connection;

std::filesystem::path directory;

void write(const char* target, std::string_view name, std::string_view bytes) {
    std::string file(name);
    std::replace(file.begin(), file.end(), ':', '-');
    std::filesystem::create_directories(directory / target);
    std::ofstream out(directory / target / file, std::ios::binary);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

std::string_view textOf(const auto& bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

void writeModule(const Zin::ZinModule& module) {
    std::string texts;
    for (const Zin::TypeInfo& type : module.types) {
        if (!type.value || type.value->holdsCollection()) continue;
        texts += std::string(type.value->name) + '\t' + Zin::Any(*type.value).text() + '\n';
    }
    if (!texts.empty()) write("text", module.name, texts);
    constexpr std::size_t short_ = 400;
    if (module.typeTable.size() <= short_) {
        write("type_table", module.name, textOf(module.typeTable));
    }
}

void steps(const support::EntityType& type, Zin::Entity& entity, laws::Random& random) {
    constexpr unsigned enough = 8;
    for (unsigned i = 0; i < enough; ++i) {
        try {
            type.step(entity, random);
        } catch (const Zin::WriteUpdateFromReadOnlyProxyException&) {
        }
    }
}

// What a peer sends that offers an entity of each type, mirrors one of each, and changes all.
Bytes streamOf(const fuzz::Types& types, laws::Random& random) {
    fuzz::StreamEnd end(types, Zin::NboAttrLog::Access::readWrite);
    Zin::NboAttrLog::Exports exports;
    Zin::NboAttrLog::Observer quiet;
    Connection peer(exports, quiet);
    std::vector<Zin::Ptr<Zin::Entity>> owned;
    std::vector<Zin::Ptr<Zin::Entity>> mirrors;
    const auto nameOf = [&](std::size_t i) {
        return Zin::String(owned[i]->fwkType().name());
    };
    for (std::size_t i = 0; i < types.size(); ++i) {
        owned.push_back(types[i]->make("owned"));
        mirrors.push_back(types[i]->make("mirror"));
        exports.exportIs(nameOf(i), owned[i], Zin::NboAttrLog::Access::readWrite);
        peer.mount(nameOf(i), mirrors[i]);
    }
    Bytes sent;
    const auto carry = [&](Connection& from, Connection& to) {
        const auto produced = from.produce(1 << 20);
        const Bytes bytes(produced.begin(), produced.end());
        from.consumed(bytes.size());
        if (&from == &peer) sent.insert(sent.end(), bytes.begin(), bytes.end());
        to.feed(bytes);
        return !bytes.empty();
    };
    const auto settle = [&] {
        bool moved = true;
        while (moved) {
            moved = carry(*end.connection, peer);
            moved = carry(peer, *end.connection) || moved;
        }
    };
    settle();
    for (int round = 0; round < 2; ++round) {
        for (std::size_t i = 0; i < types.size(); ++i) {
            steps(*types[i], *owned[i], random);
            steps(*types[i], *mirrors[i], random);
        }
        peer.barrier(1);
        settle();
    }
    peer.unmount(nameOf(0));
    exports.exportDel(nameOf(0));
    settle();
    if (peer.error() || end.connection->error()) std::cerr << "a stream failed\n";
    fuzz::fingerprintsAre(sent, false);
    return sent;
}

void writeStream(std::string_view name, const fuzz::Types& types) {
    laws::Random random(1);
    constexpr std::string_view byHeaders("\x08\0\0\0", 4);
    write("stream", name, std::string(byHeaders).append(textOf(streamOf(types, random))));
}

void writeRoot(const support::EntityType& type) {
    laws::Random random(1);
    const auto root = type.make("root");
    const std::string_view name = root->fwkType().name();
    writeStream(name, {&type});
    steps(type, *root, random);
    const char* const standing = name == "Lab::Bench"               ? "bench"
                                 : name == "Pseudowire::Config"     ? "pw"
                                 : name == "Pseudowire::VplsConfig" ? "vpls"
                                                                    : "root";
    write("state", name, corra::stateText({{standing, root}}));
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: fuzz_seeds DIRECTORY\n";
        return 2;
    }
    directory = argv[1];
    Zin::forEachModule(writeModule);
    for (const support::EntityType& type : support::rootTypes) writeRoot(type);
    writeStream("two", {&support::rootTypes[0], &support::rootTypes[1]});
    return 0;
}
