#include "Zin/Place.h"

#include <algorithm>
#include <utility>

#include "Zin/GenericIf.h"
#include "Zin/TextReader.h"

namespace Zin {

namespace {

using GenericIf::AttributeOp;

constexpr std::string_view nameCharacters =
    "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ_abcdefghijklmnopqrstuvwxyz";

// --- Texts in paths ---

std::string_view nameAt(std::string_view path, std::size_t at) {
    const std::string_view rest = path.substr(at);
    return rest.substr(0, rest.find_first_not_of(nameCharacters));
}

// A character of a root's name that needs no quotes.
bool isBare(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte > 0x20 && byte != 0x7f &&
           std::string_view(".[]()'\"").find(c) == std::string_view::npos;
}

std::size_t bareLength(std::string_view text) {
    const auto end = std::find_if_not(text.begin(), text.end(), isBare);
    return static_cast<std::size_t>(end - text.begin());
}

// The string in double quotes that the text begins with, and its length with them. What is
// escaped is escaped as in single quotes, but for the quotes.
std::pair<String, std::size_t> doubleQuoted(std::string_view text) {
    std::string single = "'";
    // Where each byte of that stands in the text.
    std::vector<std::size_t> origin{0};
    std::size_t at = 1;
    while (at < text.size() && text[at] != '"') {
        const std::string_view piece = text.substr(at, text[at] == '\\' ? 2 : 1);
        if (piece == "'") {
            single += '\\';
            origin.push_back(at);
        }
        const std::size_t skipped = piece == "\\\"" ? 1 : 0;
        for (std::size_t i = skipped; i < piece.size(); ++i) {
            single += piece[i];
            origin.push_back(at + i);
        }
        at += piece.size();
    }
    origin.push_back(at);
    if (at < text.size()) single += '\'';
    TextReader reader(single);
    try {
        String string = reader.quoted();
        return {std::move(string), at + 1};
    } catch (const TextException& e) {
        throw TextException(e, origin[std::min(e.position(), origin.size() - 1)]);
    }
}

// The value that the text begins with, and the length of its text.
std::pair<Any, std::size_t> readValue(const ValueInfo& type, std::string_view text) {
    if (type.kind == ValueKind::string && text.starts_with('"')) {
        const auto [string, length] = doubleQuoted(text);
        return {Any(type, &string), length};
    }
    if (type.holdsCollection()) Any::fromText(type, text);
    Any value(type);
    TextReader reader(text);
    readText(reader, type, value.get());
    return {std::move(value), reader.position()};
}

// The value that the whole text stands for.
Any wholeValue(const ValueInfo& type, std::string_view text) {
    auto [value, length] = readValue(type, text);
    TextReader end(text);
    end.need(text.substr(0, length));
    end.needEnd();
    return std::move(value);
}

std::string quoted(std::string_view text) {
    std::string all;
    appendQuoted(all, text);
    return all;
}

template <class Named>
std::string namesOf(std::span<const Named> all) {
    std::string names;
    for (const Named& one : all) names += (names.empty() ? "" : ", ") + std::string(one.name);
    return names.empty() ? "none" : names;
}

// --- Types ---

const EntityTypeInfo& typeInfoOf(const Entity& entity) {
    const EntityTypeInfo* const type = entity.fwkType().info();
    if (!type) {
        throw Exception(quoted(entity.name().view()) + " is of a type that no module lists");
    }
    return *type;
}

// A type with a text of its own may restrict its fields: it must be able to read its text.
void requireSound(const std::string& path, const ValueInfo& type, const void* value) {
    if (type.kind == ValueKind::text) {
        std::string text;
        appendText(text, type, value);
        if (!type.equal(Any::fromText(type, text).get(), value)) {
            throw Exception(
                path + ": " + std::string(type.name) + " has no such value: it reads as " +
                text);
        }
    } else if (type.kind == ValueKind::fields) {
        for (const FieldInfo& field : type.fields) {
            requireSound(path, *field.type, field.in(value));
        }
    }
}

// "name (Zin::String), cooled (bool)"
std::string argumentNames(const EntityTypeInfo& type, std::size_t from) {
    std::string names;
    for (std::size_t i = from; i < type.constructorArguments.size(); ++i) {
        const AttributeInfo* const attribute = type.attribute(type.constructorAttributeIds[i]);
        names += names.empty() ? "" : ", ";
        names += attribute ? attribute->name : "name";
        names += " (" + std::string(type.constructorArguments[i]->name) + ")";
    }
    return names.empty() ? "none" : names;
}

// The constructor arguments of a child from that one on.
std::vector<Any> constructorArguments(
    const std::string& path,
    const EntityTypeInfo& type,
    std::size_t from,
    std::span<const std::string_view> texts) {
    const auto due = type.constructorArguments.subspan(from);
    if (texts.size() != due.size()) {
        throw Exception(
            path + ": " + std::to_string(texts.size()) + " arguments for a " +
            std::string(type.name) + ", due: " + argumentNames(type, from));
    }
    std::vector<Any> arguments;
    for (std::size_t i = 0; i < due.size(); ++i) {
        const bool isBareString = due[i]->kind == ValueKind::string &&
                                  !texts[i].starts_with('\'') && !texts[i].starts_with('"');
        if (isBareString) {
            const String string(texts[i]);
            arguments.emplace_back(*due[i], &string);
            continue;
        }
        try {
            arguments.push_back(wholeValue(*due[i], texts[i]));
        } catch (const TextException& e) {
            const AttributeId id = type.constructorAttributeIds[from + i];
            const AttributeInfo* const attribute = type.attribute(id);
            throw TextException(e, attribute ? attribute->name : "name");
        }
    }
    return arguments;
}

// What an entity was made of.
std::vector<Any> argumentsOf(const Entity& entity) {
    struct Arguments {
        std::span<const ValueInfo* const> types;
        std::vector<Any> all;
    } arguments{typeInfoOf(entity).constructorArguments, {}};
    typeInfoOf(entity).forEachConstructorArgument(
        entity,
        [](void* context, const void* argument) {
            auto& [types, all] = *static_cast<Arguments*>(context);
            all.emplace_back(*types[all.size()], argument);
        },
        &arguments);
    return std::move(arguments.all);
}

}  // namespace

PathException::PathException(std::size_t position, const std::string& text)
    : Exception("at position " + std::to_string(position) + ": " + text), position_(position) {}

PathException::~PathException() = default;

AbsentException::~AbsentException() = default;

// --- Walking ---

Place::Place(const Ptr<Entity>& root) : entity_(root) {
    if (!root) throw NullPointerException("no entity to start a path at");
    const std::string name(root->name().view());
    if (!name.empty() && bareLength(name) == name.size()) {
        path_ = name;
    } else {
        path_ = std::string(typeInfoOf(*root).name) + '(' + quoted(name) + ')';
    }
}

Place::Rooted Place::rooted(std::string_view path) {
    Rooted root;
    std::size_t at = bareLength(path);
    root.name = path.substr(0, at);
    if (at < path.size() && path[at] == '(') {
        root.type = std::exchange(root.name, {});
        ++at;
        const std::string_view text = path.substr(at);
        try {
            if (text.starts_with('"')) {
                const auto [name, length] = doubleQuoted(text);
                root.name = name.view();
                at += length;
            } else {
                TextReader reader(text);
                root.name = reader.quoted().view();
                at += reader.position();
            }
        } catch (const TextException& e) {
            throw TextException(e, at + e.position());
        }
        if (at == path.size() || path[at] != ')') throw PathException(at, "expected ')'");
        ++at;
        if (root.type.empty()) throw PathException(0, "expected the name of an entity type");
    } else if (root.name.empty()) {
        throw PathException(0, "expected the name of a root");
    }
    if (at < path.size() && path[at] != '.') {
        throw PathException(at, "expected '.' or the end of the path");
    }
    root.rest = path.substr(at);
    root.position = at;
    return root;
}

Place Place::walk(std::string_view path, std::size_t base) const {
    Place here = *this;
    std::size_t step = 0;
    for (std::size_t at = 0; at < path.size();) {
        if (here.kind_ == Kind::member && here.attribute_->childType) {
            throw AbsentException(base + step, "there is no " + here.path_);
        }
        step = at;
        if (here.kind_ == Kind::collection) {
            const ValueInfo& type = *here.attribute_->key;
            if (path[at] != '[') {
                throw PathException(
                    base + at,
                    "expected '[' and a key, " + std::string(type.name));
            }
            ++at;
            try {
                auto [key, length] = readValue(type, path.substr(at));
                here = here.under(std::move(key));
                at += length;
            } catch (const TextException& e) {
                throw TextException(e, base + at + e.position());
            } catch (const RangeException& e) {
                throw PathException(base + at, e.what());
            }
            if (at == path.size() || path[at] != ']') {
                throw PathException(base + at, "expected ']' behind the key");
            }
            ++at;
        } else {
            if (path[at] != '.') {
                throw PathException(base + at, "expected '.' or the end of the path");
            }
            ++at;
            const std::string_view name = nameAt(path, at);
            here = here.named(name, base + at);
            at += name.size();
        }
    }
    return here;
}

Place Place::named(std::string_view name, std::size_t position) const {
    const auto fail = [&](std::string_view owner, const char* what, const std::string& all) {
        throw PathException(
            position,
            std::string(owner) + " has no " + what + ' ' + quoted(name) + "; it has " + all);
    };
    if (kind_ == Kind::entity) {
        const EntityTypeInfo& info = typeInfoOf(*entity_);
        const AttributeInfo* const found = info.attribute(name);
        if (!found) fail(info.name, "attribute", namesOf(info.attributes));
        if (found->hasNoForm()) {
            const bool isFunction = found->kind == AttributeKind::function;
            const char* const what = isFunction ? "function that has no value" : "reference";
            throw PathException(position, quoted(name) + " is a " + what);
        }
        return at(*found);
    }
    if (!type()) fail(path_, "field", "none");
    const auto& fields = type()->fields;
    const auto found = std::find_if(fields.begin(), fields.end(), [&](const FieldInfo& field) {
        return field.name == name;
    });
    if (found == fields.end()) fail(type()->name, "field", namesOf(fields));
    return at(*found);
}

void Place::becomeChild(const Entity* child) {
    kind_ = child ? Kind::entity : Kind::member;
    if (child) entity_ = Ptr<Entity>(const_cast<Entity*>(child));
}

Place Place::at(const AttributeInfo& attribute) const {
    Place below = *this;
    below.owner_ = entity_;
    below.attribute_ = &attribute;
    below.key_ = Any();
    below.kind_ = attribute.isCollection() ? Kind::collection : Kind::value;
    below.path_ += '.';
    below.path_ += attribute.name;
    if (attribute.kind == AttributeKind::singleton) below.becomeChild(below.found().child);
    return below;
}

Place Place::at(const FieldInfo& field) const {
    Place below = *this;
    below.fields_.push_back(&field);
    below.path_ += '.';
    below.path_ += field.name;
    return below;
}

Place Place::under(Any key) const {
    Place below = *this;
    below.kind_ = Kind::member;
    below.path_ += '[' + key.text() + ']';
    below.key_ = std::move(key);
    if (attribute_->childType) below.becomeChild(below.found().child);
    return below;
}

// --- Reading ---

const ValueInfo* Place::type() const noexcept {
    if (kind_ == Kind::entity || kind_ == Kind::collection) return nullptr;
    return fields_.empty() ? attribute_->value : fields_.back()->type;
}

MemberRef Place::found() const {
    if (attribute_->kind == AttributeKind::singleton) {
        const Entity* const child = attribute_->child(*owner_);
        return {child != nullptr, nullptr, child};
    }
    return attribute_->member(*owner_, key_.get());
}

bool Place::exists() const {
    if (!attribute_) return true;
    if (kind_ == Kind::entity) return found().child == entity_.get();
    return kind_ != Kind::member || found().present;
}

Any Place::whole() const {
    if (kind_ == Kind::value) {
        Any all(*attribute_->value);
        const auto status =
            attribute_->operate(all.get(), *owner_, AttributeOp::get, nullptr, nullptr);
        if (status != GenericIf::Status::done) throw Exception(path_ + " cannot be read");
        return all;
    }
    const MemberRef member = found();
    if (!member.present) throw Exception("there is no " + path_);
    return Any(*attribute_->value, member.value);
}

Any Place::value() const {
    const ValueInfo* const held = type();
    if (!held) throw Exception(path_ + " has no value");
    const Any all = whole();
    const void* value = all.get();
    for (const FieldInfo* const field : fields_) value = field->in(value);
    return Any(*held, value);
}

std::vector<Place> Place::children() const {
    std::vector<Place> below;
    if (kind_ == Kind::entity) {
        for (const AttributeInfo& attribute : typeInfoOf(*entity_).attributes) {
            if (attribute.hasNoForm()) continue;
            Place place = at(attribute);
            if (place.exists()) below.push_back(std::move(place));
        }
    } else if (kind_ == Kind::collection) {
        struct Keys final : MemberVisitor {
            void onMember(const void* key, const void*, const Entity*) override {
                Any copy(*type, key);
                std::string text = copy.text();
                all.emplace_back(std::move(text), std::move(copy));
            }
            const ValueInfo* type = nullptr;
            std::vector<std::pair<std::string, Any>> all;
        } keys;
        keys.type = attribute_->key;
        attribute_->forEachMember(*owner_, keys);
        std::sort(keys.all.begin(), keys.all.end(), [](const auto& a, const auto& b) {
            return a.first < b.first;
        });
        for (auto& [text, key] : keys.all) below.push_back(under(std::move(key)));
    } else if (type() && exists()) {
        for (const FieldInfo& field : type()->fields) below.push_back(at(field));
    }
    return below;
}

// --- Changing ---

void Place::operate(AttributeOp op, const void* key, const void* value) const {
    const auto status = attribute_->operate(nullptr, *owner_, op, key, value);
    if (status != GenericIf::Status::done) throw Exception(path_ + " cannot be changed");
}

void Place::valueIs(const Any& value) const {
    const ValueInfo* const held = type();
    if (!held) throw Exception(path_ + " has no value that could be set");
    if (!value.type()) throw NullPointerException(path_ + ": no value was given");
    if (!sameType(*value.type(), *held)) {
        throw TypeException(
            path_ + ": a value of " + std::string(value.type()->name) + " was given, " +
            std::string(held->name) + " is due");
    }
    requireSound(path_, *held, value.get());
    Any all = fields_.empty() ? value : whole();
    if (!fields_.empty()) {
        void* part = all.get();
        for (const FieldInfo* const field : fields_) part = field->mutableIn(part);
        held->assign(part, value.get());
        // Those in which the field lies may restrict it.
        const ValueInfo* around = attribute_->value;
        part = all.get();
        for (const FieldInfo* const field : fields_) {
            if (around->kind == ValueKind::text) requireSound(path_, *around, part);
            part = field->mutableIn(part);
            around = field->type;
        }
    }
    operate(AttributeOp::set, key_.get(), all.get());
}

void Place::textIs(std::string_view text) const {
    const ValueInfo* const held = type();
    if (!held) throw Exception(path_ + " has no value that could be set");
    valueIs(wholeValue(*held, text));
}

Place Place::made(
    const Place& root,
    std::string_view path,
    std::span<const std::string_view> arguments,
    std::size_t base) {
    const Place place = root.walk(path, base);
    const bool isMember = place.kind_ == Kind::member || place.kind_ == Kind::entity;
    if (!place.attribute_ || !isMember || !place.fields_.empty()) {
        throw Exception(place.path_ + " is no member of a collection and no child");
    }
    place.make(arguments);
    return root.walk(path, base);
}

void Place::make(std::span<const std::string_view> texts) const {
    if (const EntityTypeInfo* const child = attribute_->childType) {
        // The name is the key, or the first argument.
        const bool isSingle = attribute_->kind == AttributeKind::singleton;
        const std::vector<Any> arguments =
            constructorArguments(path_, *child, isSingle ? 0 : 1, texts);
        std::vector<const void*> pointers;
        pointers.reserve(arguments.size());
        for (const Any& argument : arguments) pointers.push_back(argument.get());
        if (!isSingle) {
            operate(AttributeOp::set, key_.get(), pointers.data());
            return;
        }
        if (kind_ == Kind::entity && exists()) {
            if (argumentsOf(*entity_) == arguments) return;
            throw Exception(path_ + " is there as " + quoted(entity_->name().view()));
        }
        operate(AttributeOp::set, pointers[0], pointers.data() + 1);
        return;
    }
    if (!texts.empty()) throw Exception(path_ + " is made without arguments");
    if (found().present) return;
    if (!attribute_->value) {
        operate(AttributeOp::set, key_.get(), nullptr);
        return;
    }
    Any value(*attribute_->value);
    for (const FieldInfo& field : attribute_->value->fields) {
        const bool isKey = field.name == attribute_->keyField;
        if (isKey && sameType(*field.type, *attribute_->key)) {
            field.type->assign(field.mutableIn(value.get()), key_.get());
        }
    }
    operate(AttributeOp::set, key_.get(), value.get());
}

bool Place::del() const {
    if (kind_ == Kind::collection) {
        const std::vector<Place> members = children();
        bool any = false;
        for (const Place& member : members) any = member.del() || any;
        return any;
    }
    if (!attribute_ || kind_ == Kind::value || !fields_.empty()) {
        throw Exception(path_ + " cannot be deleted: it is no member and no child");
    }
    if (!exists()) return false;
    operate(AttributeOp::del, key_.get(), nullptr);
    return true;
}

}  // namespace Zin
