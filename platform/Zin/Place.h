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
//
// Keys and values are written as Zin/Strep.h reads them; a key that is a string may also be
// written in double quotes. A place holds on to the entity that it lies in; it does not hold on
// to members: what is there is looked up each time.
//
// Errors: PathException for a path that leads nowhere in this type of tree, with the position;
// Exception for what cannot be done at such a place; what mutators throw.

#pragma once

#include <cstddef>
#include <functional>
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
    PathException(std::size_t position, const std::string& text);
    ~PathException() override;

    std::size_t position() const noexcept { return position_; }

  private:
    std::size_t position_;
};

class ZIN_EXPORT Place {
  public:
    enum class Kind : std::uint8_t {
        entity,
        // A single attribute, a function of the entity, or a field in one of them.
        value,
        collection,
        // A member that is a value or a key, or a field in it.
        member,
    };

    // The root of a tree.
    explicit Place(const Ptr<Entity>& root);

    // What the path says behind the root's name, as in ".connector[ldp:'pw1'].mtu"; empty for
    // this place itself. Children on the way must exist; members need not. `base` is added to
    // the positions in errors.
    Place walk(std::string_view path, std::size_t base = 0) const;

    // The name of the root that a path begins with, and the rest. Throws PathException.
    struct Rooted {
        // Empty when the path names none.
        std::string type;
        std::string name;
        // Begins with "." or is empty; lies this far into the path.
        std::string_view rest;
        std::size_t position;
    };
    static Rooted rooted(std::string_view path);

    Kind kind() const noexcept { return kind_; }
    // From the root's name on, in the one spelling that is printed.
    const std::string& path() const noexcept { return path_; }
    const Ptr<Entity>& entity() const noexcept { return entity_; }
    // Null for an entity.
    const AttributeInfo* attribute() const noexcept { return attribute_; }
    // The type of the value that lies here; null for entities, collections and members of sets.
    const ValueInfo* type() const noexcept;

    // Whether something is there: a member may be absent, all else exists.
    bool exists() const;
    // The value here. Throws when there is none.
    Any value() const;

    // Sets the value of an attribute, a field or a member. A field of an absent member is an
    // error, an absent member is inserted; its value must hold the key under which it lies.
    void valueIs(const Any& value) const;
    void textIs(std::string_view text) const;
    // Makes a member that is absent: a key of a set, a value with nothing but its key, or a
    // child, of the constructor arguments behind its name. `path` names the member.
    static Place made(
        const Place& root,
        std::string_view path,
        std::span<const std::string_view> arguments,
        std::size_t base = 0);
    // Deletes a member, a child or all members of a collection. False when there was nothing.
    bool del() const;

    // The places right below, in the order of their attributes; members and children in the
    // order of their keys' texts.
    std::vector<Place> children() const;

  private:
    Ptr<Entity> entity_;
    const AttributeInfo* attribute_ = nullptr;
    Any key_;
    // From the value of the attribute, or of the member, to the field.
    std::vector<const FieldInfo*> fields_;
    Kind kind_ = Kind::entity;
    std::string path_;
};

}  // namespace Zin
