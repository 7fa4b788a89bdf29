// Place is a spot in an entity tree: an entity, one of its attributes, a member of a
// collection, or a field inside of a value. Code that knows no types walks to it by a path, and
// reads, sets, deletes and lists what is there.
//
//     pw                                    the root, by its name
//     Config("pw"), Pseudowire::Config("pw")    the same, with its type
//     pw.mtu                                a single attribute
//     pw.intfReviewDelayRange.min           a field of a value
//     pw.connector                          a collection
//     pw.connector[ldp:'pw1'].mtu           a field of a member
//     pw.patch['metro'].enabled             an attribute of a child
//     pw.rack['a'].spare.mass               the same, of a single child
//
// Keys and values are written as Zin/Strep.h reads them; one that is a string may also be
// written in double quotes. A place holds on to the entity that it lies in; it does not hold on
// to members: what is there is looked up each time. What is set goes through the entity's own
// mutators.
//
// Errors: PathException for a path that leads nowhere in this type of tree, and TextException
// for a bad key, with the position; TextException and RangeException for a bad value;
// TypeException for a value of another type; Exception for what cannot be done at such a place;
// what mutators throw. Nothing has changed when one is thrown.
//
// Cost: a walk is linear in the path, with a look-up per key; a field is set by copying the
// whole value that it lies in.

#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Zin/Any.h"
#include "Zin/Entity.h"
#include "Zin/Exceptions.h"
#include "Zin/Export.h"
#include "Zin/Module.h"

namespace Zin {

// A path is wrong at this byte of it.
class ZIN_EXPORT PathException : public Exception {
  public:
    // At that byte of the path.
    PathException(std::size_t position, const std::string& text);
    ~PathException() override;

    std::size_t position() const noexcept { return position_; }

  private:
    std::size_t position_;
};

// A child on the way of a path that its types allow does not exist.
class ZIN_EXPORT AbsentException : public PathException {
  public:
    using PathException::PathException;
    ~AbsentException() override;
};

class ZIN_EXPORT Place {
  public:
    // What a place is a spot of.
    enum class Kind : std::uint8_t {
        entity,
        // A single attribute, a function of the entity that takes nothing, or a field in one of
        // them.
        value,
        collection,
        // A member that is a value, or a field in it; a key in a set; a child that is absent.
        member,
    };

    // The root of a tree. Throws a NullPointerException.
    explicit Place(const Ptr<Entity>& root);

    // What the path says behind the root's name, as in ".connector[ldp:'pw1'].mtu"; empty for
    // this place itself. Children on the way must exist, or an AbsentException is thrown; what
    // the path ends at need not. `base` is added to the positions in errors.
    Place walk(std::string_view path, std::size_t base = 0) const;

    // The name of the root that a path begins with, and the rest. A name in which a path would
    // go on or which holds blanks, quotes or brackets is written with its type, in quotes of
    // either kind. Throws PathException and TextException.
    struct Rooted {
        // Empty when the path names none.
        std::string type;
        // The name of the root.
        std::string name;
        // Begins with "." or is empty; lies this far into the path.
        std::string_view rest;
        // Where in the path the rest begins, in bytes.
        std::size_t position;
    };
    // Takes the root's name off a path.
    static Rooted rooted(std::string_view path);

    // What lies here.
    Kind kind() const noexcept { return kind_; }
    // From the root's name on, in the one spelling that is printed.
    const std::string& path() const noexcept { return path_; }
    // The entity that is here, or in which this lies.
    const Ptr<Entity>& entity() const noexcept { return entity_; }
    // Null for an entity.
    const AttributeInfo* attribute() const noexcept {
        return kind_ == Kind::entity ? nullptr : attribute_;
    }
    // The type of the value that lies here; null for entities, collections, members of sets and
    // absent children.
    const ValueInfo* type() const noexcept;

    // Whether something is there: a member or a child may be absent, or gone since; all else
    // exists.
    bool exists() const;
    // The value here. A function is computed. Throws when there is none.
    Any value() const;

    // Sets the value of an attribute, a field or a member. A field of an absent member is an
    // error, an absent member is inserted; its value must hold the key under which it lies. A
    // value that its type would not read as text is refused with what the type says.
    void valueIs(const Any& value) const;
    void textIs(std::string_view text) const;
    // Makes a member that is absent: a key of a set, a value with nothing but its key, or a
    // child, of the constructor arguments behind its name; a single child takes its name as the
    // first. One that is there stays as it is; Exception when it was made of others. `path`
    // names the member. A string among the arguments may stand without quotes.
    static Place made(
        const Place& root,
        std::string_view path,
        std::span<const std::string_view> arguments,
        std::size_t base = 0);
    // Deletes a member, a child or all members of a collection. False when there was nothing.
    bool del() const;

    // The places right below, in the order of their attributes or fields; members and children
    // in the order of their keys' texts. Only what exists.
    std::vector<Place> children() const;

  private:
    // Steps of a walk; the position is that of the name, for errors.
    Place named(std::string_view name, std::size_t position) const;
    Place at(const AttributeInfo& attribute) const;
    Place at(const FieldInfo& field) const;
    Place under(Any key) const;
    void becomeChild(const Entity* child);

    // Member or child under the key.
    MemberRef found() const;
    // Of the attribute or the member that the field lies in.
    Any whole() const;
    void operate(GenericIf::AttributeOp op, const void* key, const void* value) const;
    void make(std::span<const std::string_view> arguments) const;

    Ptr<Entity> entity_;
    // Where this lies: of a child its parent, null for the root.
    Ptr<Entity> owner_;
    const AttributeInfo* attribute_ = nullptr;
    // Empty unless this is, or lies in, a member of a collection.
    Any key_;
    // From the value of the attribute, or of the member, to the field.
    std::vector<const FieldInfo*> fields_;
    Kind kind_ = Kind::entity;
    std::string path_;
};

}  // namespace Zin
