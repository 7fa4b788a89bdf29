// Values in a state file (docs/state-file.md): what any Zin::ValueInfo describes as JSON, and
// back. Equal values have equal JSON.

#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

#include "Zin/String.h"
#include "Zin/ValueInfo.h"
#include "corra/StateError.h"

namespace corra {

// Throws a Zin::Exception for a value that has no form: one with a collection that cannot be
// walked.
nlohmann::json jsonOf(const Zin::ValueInfo& type, const void* value);
// The value as an object of its fields, without the one of that name.
nlohmann::json
jsonOfFields(const Zin::ValueInfo& type, const void* value, std::string_view without = {});
// The value as the name of a member of an object.
std::string keyTextOf(const Zin::ValueInfo& type, const void* key);
std::string stringOf(const Zin::String& bytes);

// Throw a StateError; then `value` holds something, but nothing of use.
void readValue(
    const StatePlace& place,
    const nlohmann::json& json,
    const Zin::ValueInfo& type,
    void* value);
// Fields that are missing stay as they are.
void readFields(
    const StatePlace& place,
    const nlohmann::json& json,
    const Zin::ValueInfo& type,
    void* value,
    std::string_view without = {});
void readKey(
    const StatePlace& place,
    const std::string& text,
    const Zin::ValueInfo& type,
    void* key);
Zin::String readString(const StatePlace& place, const std::string& text);

// Whether a value is written as an object of its fields.
bool isObjectOfFields(const Zin::ValueInfo& type);
// Whether all that a type is made of has a form.
bool hasForm(const Zin::ValueInfo& type);

// Requires an object.
const nlohmann::json::object_t& objectAt(const StatePlace& place, const nlohmann::json& json);

// Requires an array.
template <class Read>
void forEachElement(const StatePlace& place, const nlohmann::json& json, Read read) {
    if (!json.is_array()) place.fail("an array", json);
    for (std::size_t at = 0; at < json.size(); ++at) {
        const std::string index = std::to_string(at);
        read(StatePlace(place, index), json[at]);
    }
}

// Visits the members of a collection inside of a value.
template <class Visit>
void forEachMember(const Zin::CollectionInfo& info, const void* collection, Visit visit) {
    info.forEachMember(
        collection,
        [](void* context, const void* key, const void* value) {
            (*static_cast<Visit*>(context))(key, value);
        },
        &visit);
}

}  // namespace corra
