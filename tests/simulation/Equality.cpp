#include "simulation/Equality.h"

#include <algorithm>
#include <memory>
#include <set>
#include <sstream>
#include <string_view>
#include <vector>

#include "Quib/DumpContext.h"
#include "Zin/Any.h"
#include "Zin/GenericIf.h"
#include "Zin/Module.h"
#include "support/Dump.h"

namespace support {

namespace {

using namespace Zin::GenericIf;
using Zin::Any;
using Zin::AttributeInfo;
using Zin::AttributeKind;
using Zin::Entity;
using Zin::MemberRef;
using Zin::Ptr;

// One attribute of one entity.
class Spot {
  public:
    Spot(const Ptr<Entity>& entity, const AttributeInfo& attribute)
        : info(attribute),
          entity_(entity),
          type_(*entity->fwkType().info()),
          attr_(Zin::ZinAttr::of(type_.handle, attribute.id)) {}

    void get(void* result, const void* key = nullptr, AttributeOp op = AttributeOp::get) const {
        const Status status =
            attributeOp(type_, result, entity_.get(), attr_, op, key, nullptr);
        if (status != Status::done) throw Zin::Exception("an attribute cannot be read");
    }
    std::uint32_t members() const {
        std::uint32_t members = 0;
        get(&members, nullptr, AttributeOp::members);
        return members;
    }
    template <class Visit>
    void forEachMember(Visit visit) const {
        const TypeIteratorOps* ops = nullptr;
        const auto destroy = [&](void* iterator) {
            ops->iterDel(attr_, iterator);
        };
        const std::unique_ptr<void, decltype(destroy)> it(
            iterator(type_, entity_.get(), attr_, &ops),
            destroy);
        for (; ops->iterNonnull(attr_, it.get()); ops->iterInc(attr_, it.get())) {
            Any key(*info.key);
            ops->iterKey(attr_, it.get(), key.get());
            MemberRef member;
            ops->iterObj(attr_, it.get(), &member);
            visit(key, member);
        }
    }

    const AttributeInfo& info;

  private:
    const Ptr<Entity>& entity_;
    const Zin::EntityTypeInfo& type_;
    Zin::ZinAttr attr_;
};

class Comparison {
  public:
    explicit Comparison(std::uint64_t& compared) : compared_(compared) {}

    void compare(const std::string& path, const Ptr<Entity>& a, const Ptr<Entity>& b) {
        if (!a != !b) return differs(path, "is there on one side");
        if (!a) return;
        if (!(a->name() == b->name())) differs(path, "has another name");
        for (const AttributeInfo& attribute : a->fwkType().info()->attributes) {
            const auto* const other = b->fwkType().info()->attribute(attribute.id);
            if (!other || attribute.hasNoForm()) continue;
            compareSpots(path + '.' + std::string(attribute.name), {a, attribute}, {b, *other});
        }
    }

    std::string text;

  private:
    void differs(const std::string& path, const char* how) { text += path + ' ' + how + '\n'; }

    void compareSpots(const std::string& path, const Spot& a, const Spot& b) {
        ++compared_;
        if (a.info.isCollection()) return compareMembers(path, a, b);
        if (a.info.kind == AttributeKind::singleton) {
            Ptr<Entity> children[2];
            a.get(&children[0]);
            b.get(&children[1]);
            return compare(path, children[0], children[1]);
        }
        if (!a.info.value) return;
        Any values[] = {Any(*a.info.value), Any(*b.info.value)};
        a.get(values[0].get());
        b.get(values[1].get());
        if (!(values[0] == values[1])) differs(path, "differs");
    }

    void compareMembers(const std::string& path, const Spot& a, const Spot& b) {
        if (a.members() != b.members()) differs(path, "has another number of members");
        a.forEachMember([&](const Any& key, const MemberRef& mine) {
            ++compared_;
            const std::string member = path + '[' + key.text() + ']';
            MemberRef others;
            b.get(&others, key.get());
            if (!others.present) return differs(member, "is absent");
            if (mine.child && others.child) {
                compare(
                    member,
                    Ptr<Entity>(const_cast<Entity*>(mine.child)),
                    Ptr<Entity>(const_cast<Entity*>(others.child)));
            } else if (mine.value && !a.info.value->equal(mine.value, others.value)) {
                differs(member, "differs");
            }
        });
    }

    std::uint64_t& compared_;
};

}  // namespace

std::string differenceByReflection(
    const Ptr<Entity>& expected,
    const Ptr<Entity>& found,
    std::uint64_t& compared) {
    Comparison comparison(compared);
    comparison.compare(std::string(expected->name().view()), expected, found);
    return comparison.text;
}

std::string sortedDump(const Ptr<Entity>& entity) {
    std::set<std::string_view> references;
    for (const auto& each : tree(entity)) {
        for (const AttributeInfo& attribute : each->fwkType().info()->attributes) {
            if (attribute.kind == AttributeKind::reference) references.insert(attribute.name);
        }
    }
    std::string text;
    entity->fwkType().info()->dumpState(*entity, Quib::DumpContext::make(text), 0);
    std::istringstream in(text.substr(text.find('\n') + 1));
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);) {
        const std::size_t begin = std::min(line.find_first_not_of(' '), line.size());
        if (!references.contains(
                std::string_view(line).substr(begin, line.find(' ', begin) - begin))) {
            lines.push_back(line);
        }
    }
    std::sort(lines.begin(), lines.end());
    std::string sorted;
    for (const std::string& line : lines) sorted += line + '\n';
    return sorted;
}

}  // namespace support
