// The reflective interface of every entity type and every value type that some module lists,
// against a model: what is written through it is read back through it, reactors hear of what
// changed and of nothing else, and misuse changes nothing.

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "Pseudowire/PseudowireConfig.h"
#include "Pseudowire/PwRunnability.h"
#include "Zin/Any.h"
#include "Zin/GenericIf.h"
#include "Zin/GenericIfImpl.h"
#include "frame/TypeImpl.h"
#include "laws/RandomValue.h"
#include "support/Dump.h"
#include "support/LabTypes.h"

namespace {

using namespace Zin::GenericIf;
using enum AttributeOp;
using Null = Zin::NullPointerException;
using WrongType = Zin::TypeException;
using Zin::Any;
using Zin::AttributeInfo;
using Zin::AttributeKind;
using Zin::Entity;
using Zin::EntityTypeInfo;
using Zin::Exception;
using Zin::MemberRef;
using Zin::Ptr;
using Zin::TypeInfo;
using Zin::ValueInfo;
using Zin::ValueKind;
using Zin::ZinAttr;

// --- Values and entities of types that are known by their tables alone ---

void randomise(const ValueInfo& type, void* value, laws::Random& random) {
    for (const Zin::FieldInfo& field : type.fields) {
        randomise(*field.type, field.mutableIn(value), random);
    }
    if (type.kind == ValueKind::text) {
        // Fields that depend on each other become those of the text.
        try {
            type.assign(value, Any::fromText(type, Any(type, value).text()).get());
        } catch (const Exception&) {
        }
    }
    if (!type.fields.empty() || type.kind == ValueKind::collection) return;
    const auto set = [&]<class T>(T) {
        *static_cast<T*>(value) = laws::randomValue<T>(random);
    };
    if (type.kind == ValueKind::boolean) return set(bool());
    if (type.kind == ValueKind::floatingNumber) return set(double());
    if (type.kind == ValueKind::string) return set(Zin::String());
    if (type.size == 1) return set(std::uint8_t());
    if (type.size == 2) return set(std::uint16_t());
    return type.size == 4 ? set(std::uint32_t()) : set(std::uint64_t());
}

Any randomAny(const ValueInfo& type, laws::Random& random) {
    Any any(type);
    randomise(type, any.get(), random);
    return any;
}

// All entity types, or value types, that some module lists.
template <auto which>
auto types() {
    std::vector<std::remove_cvref_t<decltype(TypeInfo().*which)>> all;
    Zin::forEachModule([&](const Zin::ZinModule& module) {
        for (const TypeInfo& type : module.types) {
            if (type.*which) all.push_back(type.*which);
        }
    });
    return all;
}
const auto entityTypes = types<&TypeInfo::entity>;
const auto valueTypes = types<&TypeInfo::value>;

std::vector<const void*> pointersTo(const std::vector<Any>& all, std::size_t from = 0) {
    std::vector<const void*> pointers;
    for (std::size_t i = from; i < all.size(); ++i) pointers.push_back(all[i].get());
    return pointers;
}

// The same arguments for the same seed.
std::vector<Any> argumentsOf(const EntityTypeInfo& type, std::uint64_t seed) {
    laws::Random random(seed);
    std::vector<Any> arguments;
    for (const ValueInfo* argument : type.constructorArguments) {
        arguments.push_back(randomAny(*argument, random));
    }
    return arguments;
}

Ptr<Entity> made(const EntityTypeInfo& type, std::uint64_t seed = 1) {
    Entity* entity = nullptr;
    const auto arguments = argumentsOf(type, seed);
    type.genericIfConstructFromCtorArgs(&entity, pointersTo(arguments).data());
    return Ptr<Entity>::adopted(entity);
}

// --- One attribute of an entity ---

struct Subject {
    Subject(const EntityTypeInfo& type, const AttributeInfo& attribute)
        : info(type), of(attribute), attr(ZinAttr::of(type.handle, attribute.id)) {}

    Status
    operate(AttributeOp op, void* result = nullptr, const void* key = {}, const void* v = {}) {
        return attributeOp(info, result, entity.get(), attr, op, key, v);
    }
    std::uint32_t number(AttributeOp op) {
        std::uint32_t number = ~0u;
        EXPECT_EQ(operate(op, &number), Status::done);
        return number;
    }
    // Whether the reactor was told exactly this since it was last asked.
    bool told(const std::vector<std::string>& expected) {
        return std::exchange(listener.told, {}) == expected;
    }
    // Ops that the attribute does not have, with all that they might want.
    void refuses(std::vector<AttributeOp> ops) {
        ops.insert(ops.end(), {AttributeOp(6), AttributeOp(0xffffffff)});
        std::uint64_t result[64] = {~0u};
        for (const AttributeOp op : ops) {
            EXPECT_EQ(operate(op, result, result, result), Status::unsupported) << int(op);
            EXPECT_EQ(operate(op), Status::unsupported) << int(op);
        }
        EXPECT_EQ(result[0], ~0u);
        EXPECT_TRUE(told({}));
    }
    // The operation throws that, and says of which attribute of which entity.
    template <class E>
    std::string throws(AttributeOp op, void* result, const void* key, const void* value) {
        std::string text;
        EXPECT_THROW(
            try { operate(op, result, key, value); } catch (const E& e) {
                text = e.what();
                throw;
            },
            E)
            << int(op);
        const std::string where = std::string(info.name) + " \"" +
                                  std::string(entity->name().view()) + "\", attribute " +
                                  std::to_string(of.id) + " (" + std::string(of.name) + ")";
        EXPECT_TRUE(text.starts_with(where)) << text << "\ninstead of " << where;
        return text;
    }
    void needs(AttributeOp op, void* result, const void* key, const void* value) {
        EXPECT_TRUE(throws<Null>(op, result, key, value).ends_with(" is due, null was given"));
        EXPECT_TRUE(told({}));
    }

    const EntityTypeInfo& info;
    const AttributeInfo& of;
    const ZinAttr attr;
    const Ptr<Entity> entity = made(info);
    support::Listener listener{*entity};
};

void checkSingle(Subject& subject, laws::Random& random) {
    const AttributeInfo& of = subject.of;
    Any read(*of.value);
    const auto current = [&] {
        EXPECT_EQ(subject.operate(get, read.get()), Status::done);
        return of.valueOf ? Any(*of.value, of.valueOf(*subject.entity)) : read;
    };
    EXPECT_EQ(current(), read);
    subject.needs(get, nullptr, nullptr, nullptr);
    subject.refuses({del, members, version, contains});
    if (!of.writable) return subject.refuses({set});
    subject.needs(set, nullptr, nullptr, nullptr);
    for (int round = 0; round < 20; ++round) {
        const Any before = current();
        const Any value = round % 4 ? randomAny(*of.value, random) : before;
        EXPECT_EQ(subject.operate(set, nullptr, nullptr, value.get()), Status::done);
        EXPECT_EQ(current(), value);
        EXPECT_EQ(read, value);
        const std::vector<std::string> names(before == value ? 0 : 1, std::string(of.name));
        EXPECT_TRUE(subject.told(names));
    }
}

// Of a default argument: functions may refuse others.
void checkFunctionOfOne(Subject& subject) {
    const Any argument(*subject.of.key);
    Any result(*subject.of.value);
    EXPECT_EQ(subject.operate(get, result.get(), argument.get()), Status::done);
    subject.needs(get, nullptr, argument.get(), nullptr);
    subject.needs(get, result.get(), nullptr, nullptr);
    subject.refuses({set, del, members, version, contains});
}

void checkSingleton(Subject& subject) {
    subject.refuses({members, version, contains});
    subject.needs(set, nullptr, nullptr, nullptr);
    Ptr<Entity> child(subject.entity.get());
    EXPECT_EQ(subject.operate(get, &child), Status::done);
    EXPECT_FALSE(child);
    const auto arguments = argumentsOf(*subject.of.childType, 2);
    const auto more = pointersTo(arguments, 1);
    for (const bool isNew : {true, false}) {
        subject.operate(set, nullptr, arguments[0].get(), more.data());
        EXPECT_EQ(subject.listener.told.size(), isNew ? 1u : 0u);
        subject.listener.told.clear();
    }
    EXPECT_EQ(subject.operate(get, &child), Status::done);
    ASSERT_TRUE(child);
    EXPECT_EQ(child->parent(), subject.entity.get());
    Ptr<Entity> removed;
    EXPECT_EQ(subject.operate(del, &removed), Status::done);
    EXPECT_EQ(removed, child);
    EXPECT_EQ(child->parent(), nullptr);
    EXPECT_EQ(subject.operate(del), Status::done);
    EXPECT_EQ(subject.listener.told.size(), 1u);
}

// Entities of the type and of those that derive from it.
void checkReference(Subject& subject) {
    subject.refuses({del, members, version, contains});
    subject.needs(set, nullptr, nullptr, nullptr);
    subject.needs(get, nullptr, nullptr, nullptr);
    Ptr<Entity> read = subject.entity;
    EXPECT_EQ(subject.operate(get, &read), Status::done);
    EXPECT_FALSE(read);
    std::size_t taken = 0;
    for (const EntityTypeInfo* type : entityTypes()) {
        const Ptr<Entity> target = made(*type);
        if (type->handle.isDerived(subject.of.referencedType->handle)) {
            ++taken;
            EXPECT_EQ(subject.operate(set, nullptr, nullptr, &target), Status::done);
            EXPECT_EQ(subject.operate(get, &read), Status::done);
            EXPECT_EQ(read, target);
            EXPECT_EQ(target->parent(), nullptr);
        } else {
            subject.throws<WrongType>(set, nullptr, nullptr, &target);
        }
    }
    EXPECT_GT(taken, 1);
    EXPECT_TRUE(subject.told(std::vector<std::string>(taken, std::string(subject.of.name))));
    const Ptr<Entity> none;
    EXPECT_EQ(subject.operate(set, nullptr, nullptr, &none), Status::done);
    EXPECT_EQ(subject.of.child(*subject.entity), nullptr);
}

// --- Collections ---

// The text of each member, or a child's name, under the text of its key.
using Model = std::map<std::string, std::string>;

std::string shown(const AttributeInfo& of, const MemberRef& member) {
    if (!member.present) return "absent";
    if (member.child) return std::string(member.child->name().view());
    return member.value ? Any(*of.value, member.value).text() : "";
}

// Walks over all members, and deletes some on the way when there is a coin to toss.
void checkWalk(Subject& subject, Model& model, std::span<const Any> keys, laws::Random* coin) {
    const TypeIteratorOps* ops = nullptr;
    const ZinAttr attr = subject.attr;
    void* const walk = iterator(subject.info, subject.entity.get(), attr, &ops);
    ASSERT_TRUE(walk && ops);
    std::map<std::string, int> met;
    Any key(*subject.of.key);
    MemberRef found;
    for (; ops->iterNonnull(attr, walk); ops->iterInc(attr, walk)) {
        ops->iterKey(attr, walk, key.get());
        ops->iterObj(attr, walk, &found);
        ASSERT_TRUE(model.count(key.text())) << "gone, and met: " << key.text();
        EXPECT_EQ(shown(subject.of, found), model.at(key.text()));
        EXPECT_EQ(++met[key.text()], 1);
        EXPECT_THROW(ops->iterKey(attr, walk, nullptr), Null);
        if (coin && laws::below(*coin, 2)) {
            const Any gone =
                laws::below(*coin, 2) ? key : keys[laws::below(*coin, keys.size())];
            subject.operate(del, nullptr, gone.get());
            model.erase(gone.text());
        }
    }
    for (const auto& [text, member] : model) EXPECT_EQ(met[text], 1) << text;
    EXPECT_THROW(ops->iterInc(attr, walk), Exception);
    EXPECT_THROW(ops->iterKey(attr, walk, key.get()), Exception);
    EXPECT_THROW(ops->iterObj(attr, walk, &found), Exception);
    EXPECT_THROW(ops->iterInc(attr, nullptr), Null);
    const ZinAttr other(attr.type(), attr.record() + 1);
    EXPECT_THROW(ops->iterNonnull(other, walk), WrongType);
    ops->iterDel(other, walk);
    EXPECT_FALSE(ops->iterNonnull(attr, walk));
    ops->iterDel(attr, walk);
    subject.listener.told.clear();
}

// Inserts under the key what changes something or what does not; gives the member's text.
std::string insert(Subject& subject, const Any& key, const Any& other, laws::Random& random) {
    const AttributeInfo& of = subject.of;
    const auto arguments = argumentsOf(of.childType ? *of.childType : subject.info, 3);
    const auto more = pointersTo(arguments, 1);
    Any member;
    if (of.value) {
        const void* const had = of.member(*subject.entity, key.get()).value;
        const bool isSame = had && laws::below(random, 2);
        member = isSame ? Any(*of.value, had) : randomAny(*of.value, random);
        for (const auto& field : of.value->fields) {
            if (field.name != of.keyField) continue;
            field.type->assign(field.mutableIn(member.get()), key.get());
        }
        subject.needs(set, nullptr, key.get(), nullptr);
    }
    const void* const value = of.childType ? more.data() : member.get();
    bool isKeyDue = true;
    if (of.value && !of.keyField.empty()) {
        // The key is in the value: it may be left out, and may be no other.
        const std::string text = subject.throws<Exception>(set, nullptr, other.get(), value);
        EXPECT_TRUE(text.ends_with(
            ", key " + other.text() + ": the value lies under key " + key.text()))
            << text;
        isKeyDue = laws::below(random, 2);
    } else {
        subject.needs(set, nullptr, nullptr, value);
    }
    const void* const given = isKeyDue ? key.get() : nullptr;
    EXPECT_EQ(subject.operate(set, nullptr, given, value), Status::done);
    return of.value ? member.text() : shown(of, of.member(*subject.entity, key.get()));
}

// Deletes what lies under the key; gives the text of what was removed.
std::string removed(Subject& subject, const Any& key, laws::Random& random) {
    const AttributeInfo& of = subject.of;
    Ptr<Entity> child = subject.entity;
    Any value = of.value ? randomAny(*of.value, random) : Any();
    void* const result = of.childType ? &child : value.get();
    EXPECT_EQ(subject.operate(del, result, key.get()), Status::done);
    if (of.childType) return child ? std::string(child->name().view()) : "absent";
    return of.value ? value.text() : "";
}

void checkCollection(Subject& subject, laws::Random& random) {
    const AttributeInfo& of = subject.of;
    const std::string none = of.childType ? "absent" : of.value ? Any(*of.value).text() : "";
    Model model;
    std::vector<Any> keys;
    for (int draw = 0; draw < 60 && keys.size() < 6; ++draw) {
        const Any key = randomAny(*of.key, random);
        if (std::find(keys.begin(), keys.end(), key) == keys.end()) keys.push_back(key);
    }
    ASSERT_GT(keys.size(), 1u);
    for (int round = 0; round < 120; ++round) {
        if (round % 10 == 0) checkWalk(subject, model, keys, round % 20 ? &random : nullptr);
        const std::size_t at = laws::below(random, keys.size());
        const Any& key = keys[at];
        const Model before = model;
        const std::uint32_t versionBefore = subject.number(version);
        if (laws::below(random, 3)) {
            model[key.text()] = insert(subject, key, keys[(at + 1) % keys.size()], random);
        } else {
            const auto had = model.find(key.text());
            const std::string due = had == model.end() ? none : had->second;
            EXPECT_EQ(removed(subject, key, random), due);
            model.erase(key.text());
        }
        const bool changed = model != before;
        const std::string name = std::string(of.name) + '[' + key.text() + ']';
        EXPECT_TRUE(subject.told(std::vector<std::string>(changed, name)));
        EXPECT_EQ(subject.number(version) != versionBefore, changed);
        EXPECT_EQ(subject.number(members), model.size());
        for (const Any& each : keys) {
            MemberRef found;
            bool isIn = !model.count(each.text());
            EXPECT_EQ(subject.operate(get, &found, each.get()), Status::done);
            EXPECT_EQ(subject.operate(contains, &isIn, each.get()), Status::done);
            EXPECT_EQ(isIn, found.present);
            const auto known = model.find(each.text());
            EXPECT_EQ(shown(of, found), known == model.end() ? "absent" : known->second);
        }
    }
    std::uint64_t place = 0;
    for (const auto op : {get, contains, del}) subject.needs(op, &place, nullptr, nullptr);
    for (const auto op : {get, contains, members, version}) {
        subject.needs(op, nullptr, keys[0].get(), nullptr);
    }
    subject.refuses({});
}

TEST(GenericIf, EveryAttributeOfEveryTypeFollowsItsModel) {
    laws::Random random(31);
    std::map<AttributeKind, int> kinds;
    for (const EntityTypeInfo* type : entityTypes()) {
        for (const AttributeInfo& attribute : type->attributes) {
            SCOPED_TRACE(std::string(type->name) + '.' + std::string(attribute.name));
            ++kinds[attribute.kind];
            Subject subject(*type, attribute);
            ASSERT_EQ(subject.attr.attributeId(), attribute.id);
            if (attribute.isCollection()) {
                checkCollection(subject, random);
                continue;
            }
            const TypeIteratorOps* ops = nullptr;
            EXPECT_EQ(iterator(*type, subject.entity.get(), subject.attr, &ops), nullptr);
            if (attribute.kind == AttributeKind::singleton) {
                checkSingleton(subject);
            } else if (attribute.kind == AttributeKind::reference) {
                checkReference(subject);
            } else if (attribute.value && attribute.key) {
                checkFunctionOfOne(subject);
            } else if (attribute.value) {
                checkSingle(subject, random);
            } else {
                subject.refuses({get, set, del, members, version, contains});
            }
        }
    }
    EXPECT_EQ(kinds.size(), 7u);
}

TEST(GenericIf, OthersAttributesAndEntitiesAreRefused) {
    const EntityTypeInfo* const bench = Zin::typeNamed("Lab::Bench").info();
    const EntityTypeInfo* const rack = Zin::typeNamed("Lab::Rack").info();
    for (const EntityTypeInfo* type : entityTypes()) {
        const auto own =
            type->attributes.subspan(type->base ? type->base->attributes.size() : 0);
        if (own.empty()) continue;
        const auto records = static_cast<std::uint32_t>(own.size());
        const auto first = ZinAttr::of(type->handle, own[0].id).record();
        const auto last = own.back().id;
        const EntityTypeInfo* const unrelated = type == bench ? rack : bench;
        const Ptr<Entity> entity = made(*type);
        std::uint64_t result[64] = {};
        const TypeIteratorOps* ops = nullptr;
        for (const ZinAttr& attr :
             {ZinAttr(),
              ZinAttr::of(type->handle, 257),
              ZinAttr::of(type->handle, last + 1),
              ZinAttr(type->handle, first - 1),
              ZinAttr(type->handle, first + records),
              ZinAttr(type->handle, 0xffff),
              ZinAttr::of(unrelated->handle, 258)}) {
            const auto status = attributeOp(*type, result, entity.get(), attr, get, {}, {});
            EXPECT_EQ(status, Status::unknownAttribute) << type->name;
            EXPECT_EQ(iterator(*type, entity.get(), attr, &ops), nullptr);
        }
        const Ptr<Entity> other = made(*unrelated);
        const ZinAttr attr(type->handle, first);
        EXPECT_THROW(attributeOp(*type, result, other.get(), attr, get, {}, {}), WrongType);
        EXPECT_THROW(attributeOp(*type, result, nullptr, attr, get, {}, {}), Null);
    }
}

TEST(GenericIf, RunnabilityAnswersForItsFlagAlone) {
    using Impl = Zin::TypeImpl<Pseudowire::Runnability>;
    const auto entity = Pseudowire::Runnability::RunnabilityIs("r");
    const auto flag = ZinAttr::of(entity->fwkType(), 258);
    bool value = true;
    const auto run = [&](const ZinAttr& attr, int op) {
        void* const to = &value;
        return int(Impl::genericIfAttributeOp(to, entity.get(), attr, AttributeOp(op), {}, to));
    };
    EXPECT_EQ(run(ZinAttr::of(entity->fwkType(), 259), 0), 2);
    EXPECT_EQ(run(flag, 2), 1);
    EXPECT_EQ(run(flag, 1), 0);
    EXPECT_TRUE(entity->config());
}

TEST(GenericIf, AnIteratorKeepsItsEntity) {
    auto bench = Lab::Bench::BenchIs("b");
    bench->readingIs(4, "x");
    const auto attr = ZinAttr::of(bench->fwkType(), 269);
    const TypeIteratorOps* ops = nullptr;
    void* const walk = iterator(*bench->fwkType().info(), bench.get(), attr, &ops);
    bench = nullptr;
    std::uint32_t key = 0;
    ops->iterKey(attr, walk, &key);
    EXPECT_EQ(key, 4u);
    ops->iterDel(attr, walk);
}

TEST(GenericIf, EntitiesAreMadeOfTheirArgumentsAndOfNothingLess) {
    for (const EntityTypeInfo* type : entityTypes()) {
        std::vector<Any> arguments = argumentsOf(*type, 9);
        const Ptr<Entity> entity = made(*type, 9);
        EXPECT_EQ(entity->fwkType(), type->handle);
        type->forEachConstructorArgument(
            *entity,
            [](void* due, const void* argument) {
                Any& next = *(*static_cast<Any**>(due))++;
                EXPECT_EQ(Any(*next.type(), argument), next);
            },
            std::vector{arguments.data()}.data());
        std::vector<const void*> pointers = pointersTo(arguments);
        pointers.back() = nullptr;
        Entity* result = nullptr;
        const auto make = type->genericIfConstructFromCtorArgs;
        EXPECT_THROW(make(&result, pointers.data()), Null);
        EXPECT_THROW(make(&result, nullptr), Null);
        EXPECT_EQ(result, nullptr);
    }
}

// --- Values ---

using namespace Zin::GenericIfImpl;

// Fields and constants are read by their ids, and written by none.
void checkMembers(const ValueInfo& type, const Any& value) {
    const Zin::ZinTypeBase handle = Zin::typeNamed(type.name);
    std::uint32_t id = 2;
    const auto operate = [&](void* result, const void* object, AttributeOp op) {
        return attributeOp(type, result, object, ZinAttr::of(handle, id), op);
    };
    const auto check = [&](const void* object, const Any& due) {
        Any read(*due.type());
        EXPECT_THROW(operate(nullptr, object, get), Null);
        EXPECT_EQ(operate(read.get(), object, get), Status::done);
        EXPECT_EQ(read, due);
        for (const AttributeOp op : {set, del, members, version, contains, AttributeOp(6)}) {
            EXPECT_EQ(operate(read.get(), object, op), Status::unsupported);
        }
        EXPECT_EQ(read, due);
    };
    for (const Zin::FieldInfo& field : type.fields) {
        check(value.get(), Any(*field.type, field.in(value.get())));
        EXPECT_THROW(operate(Any(*field.type).get(), nullptr, get), Null);
        ++id;
    }
    for (const Zin::ConstantInfo& constant : type.constants) {
        Any due(*constant.type);
        constant.get(due.get());
        check(nullptr, due);
        ++id;
    }
    std::uint64_t result[64] = {};
    for (std::size_t left = type.functions.size(); left != 0; --left, ++id) {
        EXPECT_EQ(operate(result, value.get(), get), Status::unsupported);
    }
    EXPECT_EQ(operate(result, value.get(), get), Status::unknownAttribute);
    EXPECT_EQ(attributeOp(type, result, value.get(), ZinAttr(), get), Status::unknownAttribute);
}

TEST(GenericIfValues, FollowTheirTables) {
    laws::Random random(8);
    const auto types = valueTypes();
    int read = 0;
    for (const ValueInfo* type : types) {
        SCOPED_TRACE(type->name);
        const Zin::ZinTypeBase handle = Zin::typeNamed(type->name);
        const Any value = randomAny(*type, random);
        Any slot(*type);
        // Raw memory: what the slot held goes first.
        destruct(*type, slot.get());
        construct(*type, slot.get(), value.get());
        EXPECT_EQ(slot, value);
        if (!type->fields.empty()) {
            std::vector<const void*> fields;
            for (const auto& field : type->fields) fields.push_back(field.in(value.get()));
            destruct(*type, slot.get());
            constructFromCtorArgs(*type, slot.get(), fields.data());
            EXPECT_EQ(slot, value);
            fields.back() = nullptr;
            EXPECT_THROW(constructFromCtorArgs(*type, slot.get(), fields.data()), Null);
        }
        if (type->hash) {
            EXPECT_EQ(
                hash(*type, value.get(), handle),
                type->hash(slot.get(), Zin::HashHelper::hashSeed32()));
            EXPECT_THROW(hash(*type, nullptr, handle), Null);
        } else {
            EXPECT_THROW(hash(*type, value.get(), handle), Zin::UnhashableException);
        }
        checkMembers(*type, value);
        EXPECT_EQ(nonempty(*type, value.get(), handle), !(value == Any(*type)));
        EXPECT_FALSE(nonempty(*type, Any(*type).get(), handle));
        const Any greater = randomAny(*type, random);
        bool isLess = true;
        if (type->less) {
            EXPECT_EQ(less(*type, &isLess, value.get(), greater.get(), handle), Status::done);
            EXPECT_EQ(isLess, type->less(value.get(), greater.get()));
            EXPECT_THROW(less(*type, &isLess, value.get(), nullptr, handle), Null);
        } else {
            EXPECT_EQ(less(*type, nullptr, nullptr, nullptr, handle), Status::unsupported);
        }
        const Zin::String text = strRep(*type, value.get(), handle);
        EXPECT_EQ(text, value.text());
        const Any before = slot = Any(*type);
        try {
            strepToValue(*type, slot.get(), text, handle);
            EXPECT_EQ(strRep(*type, slot.get(), handle), text);
            ++read;
        } catch (const Exception&) {
            EXPECT_EQ(slot, before);
        }
        EXPECT_THROW(strepToValue(*type, slot.get(), "\x01", handle), Exception);
        voidPtrIs(*type, slot.get(), value.get(), handle, handle);
        EXPECT_EQ(slot, value);
        EXPECT_THROW(voidPtrIs(*type, slot.get(), nullptr, handle, handle), Null);
        const ValueInfo* const other = types[type == types[0]];
        const auto wrong = Zin::typeNamed(other->name);
        const Any foreign(*other);
        EXPECT_THROW(voidPtrIs(*type, slot.get(), foreign.get(), wrong, handle), WrongType);
        EXPECT_THROW(strRep(*type, foreign.get(), wrong), WrongType);
        EXPECT_EQ(slot, value);
    }
    EXPECT_GT(read, static_cast<int>(types.size() / 2));
}

struct Unhashed : Zin::Value<Unhashed> {
    static consteval auto schema() {
        return describe::value("Unhashed", describe::field<&Unhashed::mass>("mass"));
    }
    static constexpr bool hashed = false;
    std::uint32_t mass = 4;
};

TEST(GenericIfValues, TypedMethodsAnswerForTheirType) {
    using Methods = Zin::TypeImpl<Lab::Reagent>;
    alignas(Lab::Reagent) std::byte memory[sizeof(Lab::Reagent)];
    const Zin::String name("salt");
    const std::int32_t grams = 5;
    const auto colour = Lab::Colour::red;
    const void* const fields[] = {&name, &grams, &colour};
    Methods::genericIfConstructFromCtorArgs(memory, fields);
    const auto none = Zin::typeOf<Lab::Reagent>();
    EXPECT_EQ(
        Methods::genericIfStrRep(memory, none),
        "Value('Lab::Reagent', ** {'name': 'salt', 'grams': 5, 'colour': red})");
    EXPECT_TRUE(Methods::genericIfNonempty(memory, none));
    // The constants stand behind three fields.
    Lab::Reagent water;
    std::int32_t most = 0;
    const auto read = [&](std::uint32_t id, void* to) {
        Methods::genericIfAttributeOp(
            to,
            nullptr,
            ZinAttr::of(none, id),
            get,
            nullptr,
            nullptr);
    };
    read(5, &water);
    read(6, &most);
    EXPECT_EQ(water, Lab::Reagent("water", 1000));
    EXPECT_EQ(most, 5000);
    bool isLess = false;
    EXPECT_EQ(Methods::genericIfLess(&isLess, memory, &water, none), Status::done);
    EXPECT_TRUE(isLess);
    Methods::genericIfDestruct(memory);

    const Unhashed value;
    using OfUnhashed = GenericIfValueMethods<Unhashed>;
    EXPECT_THROW(
        OfUnhashed::genericIfHash(&value, Zin::typeOf<Unhashed>()),
        Zin::UnhashableException);
    // Only entity types derive, and none is assigned to a value.
    const auto entity = Zin::typeNamed("Lab::Bench");
    Unhashed to;
    EXPECT_DEATH(
        OfUnhashed::genericIfVoidPtrIs(&to, &value, entity, entity),
        "!t.isPolymorphic\\(\\).*/usr/include/Zin/GenericIfImpl");
    EXPECT_THROW(
        OfUnhashed::genericIfVoidPtrIs(&to, &value, entity, Zin::typeOf<bool>()),
        WrongType);
}

TEST(GenericIfValues, EnumerationsAreKnownByTheirHandle) {
    using Methods = GenericIfEnumMethods<unsigned char>;
    const auto type = Zin::typeOf<Lab::Colour>();
    ASSERT_TRUE(type.valueInfo());
    auto colour = Lab::Colour::violet;
    EXPECT_EQ(Methods::genericIfStrRep(&colour, type), "violet");
    Methods::genericIfStrepToValue(&colour, "green", type);
    EXPECT_EQ(colour, Lab::Colour::green);
    EXPECT_THROW(Methods::genericIfStrepToValue(&colour, "blue", type), Zin::TextException);
    const auto other = Zin::typeOf<Pseudowire::GroupIdAllocation>();
    EXPECT_THROW(Methods::genericIfVoidPtrIs(&colour, &colour, other, type), WrongType);
    std::uint32_t wide = 1;
    EXPECT_THROW(GenericIfEnumMethods<unsigned int>::genericIfHash(&wide, type), WrongType);
    EXPECT_EQ(colour, Lab::Colour::green);
}

TEST(GenericIfValues, ReferencesKnowWhatTheyReferTo) {
    using Methods = GenericIfPtrInterfaceMethods<Entity>;
    const Ptr<Entity> bench = Lab::Bench::BenchIs("it's");
    const Ptr<Entity> config = Pseudowire::Config::ConfigIs("pw");
    Ptr<Entity> slot = bench;
    EXPECT_EQ(Methods::genericIfStrRep(&slot, bench->fwkType()), "Lab::Bench('it\\'s')");
    EXPECT_EQ(
        Methods::genericIfHash(&slot, bench->fwkType()),
        Methods::genericIfHash(&bench, bench->fwkType()));
    const auto assign = [&](const auto& from, const auto& given, const auto& due) {
        Methods::genericIfVoidPtrIs(&slot, &from, given, due);
    };
    EXPECT_THROW(assign(config, config->fwkType(), bench->fwkType()), WrongType);
    // A handle that the entity itself belies.
    EXPECT_THROW(assign(config, bench->fwkType(), bench->fwkType()), WrongType);
    EXPECT_THROW(Methods::genericIfStrepToValue(&slot, "None", bench->fwkType()), Exception);
    EXPECT_EQ(slot, bench);
    assign(Ptr<Entity>(), bench->fwkType(), bench->fwkType());
    EXPECT_EQ(Methods::genericIfStrRep(&slot, bench->fwkType()), "None");
}

}  // namespace
