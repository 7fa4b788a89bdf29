#include "corra/Source.h"

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string_view>

#include "corra/Console.h"
#include "corra/Generic.h"
#include "corra/Import.h"
#include "corra/StateFile.h"
#include "corra/Update.h"
#include "corra/WholeFile.h"

namespace corra {

namespace {

bool isMadeLike(const Zin::Entity& a, const Zin::Entity& b) {
    return a.fwkType() == b.fwkType() && a.name() == b.name() &&
           constructorArgumentsOf(a) == constructorArgumentsOf(b);
}

}  // namespace

Source::Kind Source::kindOf(const std::string& source) {
    if (source.starts_with("unix:") || source.starts_with("tcp:")) return Kind::live;
    if (!std::filesystem::is_directory(source)) return Kind::stateFile;
    if (std::filesystem::exists(runningConfigFile(source))) return Kind::capture;
    throw std::runtime_error(source + ": no capture: a running-config.txt is not in it");
}

std::string Source::placeOf(const SourceOptions& options) {
    if (!options.at.empty()) return options.at;
    const char* const usual = std::getenv("CORRA_AT");
    if (usual && *usual) return usual;
    throw std::runtime_error("--at is required, or CORRA_AT in the environment; try --help");
}

Source::Source(const SourceOptions& options, const Zin::String& only)
    : place_(placeOf(options)), kind_(kindOf(place_)) {
    if (kind_ == Kind::live) {
        live_ = std::make_unique<Live>(place_, options.patience, only);
        roots_ = live_->roots();
    } else {
        load(roots_);
    }
}

void Source::load(Roots& roots) const {
    if (kind_ == Kind::stateFile) {
        roots = readStateFile(place_);
        return;
    }
    for (const std::string& left : importCapture(place_, roots)) say(left);
}

void Source::requireWritable(const Zin::String& root) const {
    if (kind_ == Kind::capture) {
        throw std::runtime_error(place_ + ": a capture cannot be changed; export it first");
    }
    // One that is not there is the concern of whoever looks for it.
    if (live_ && roots_.contains(root) && !live_->isWritable(root)) {
        throw std::runtime_error(place_ + ": refused: the server does not allow writes");
    }
}

void Source::commit() {
    if (!live_) return writeFileAtomically(place_, stateText(roots_));
    live_->settle();
}

void Source::reload() {
    // An import is an update.
    if (kind_ == Kind::capture) return load(roots_);
    Roots fresh;
    load(fresh);
    for (auto& [name, root] : fresh) {
        const auto held = roots_.find(name);
        if (held == roots_.end() || !isMadeLike(*held->second, *root)) continue;
        update(*held->second, *root);
        root = held->second;
    }
    roots_ = std::move(fresh);
}

}  // namespace corra
