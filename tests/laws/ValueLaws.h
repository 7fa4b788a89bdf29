// What holds for every value type, whatever it means: one typed suite that a type joins by
// standing in a list.
//
//     using Types = testing::Types<Vorn::IntfId, Bridging::Dot1qEncap>;
//     INSTANTIATE_TYPED_TEST_SUITE_P(Platform, ValueLaws, Types);
//
// Laws about order, hash and text apply to the types that have them.

#pragma once

#include <gtest/gtest.h>

#include <concepts>
#include <cstddef>
#include <span>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "Zin/Exceptions.h"
#include "Zin/NboAttrLogIn.h"
#include "Zin/NboAttrLogOut.h"
#include "Zin/Strep.h"
#include "Zin/Value.h"
#include "Zin/ValueInfoOf.h"
#include "laws/RandomValue.h"

namespace laws {

template <class T>
std::vector<std::byte> encoded(const T& value) {
    std::vector<std::byte> bytes(Zin::NboAttrLog::attrLogSize(value));
    Zin::NboAttrLog::Out out(bytes.data(), bytes.data() + bytes.size());
    out << value;
    EXPECT_EQ(out.room(), 0u) << "attrLogSize announces more than is written";
    return bytes;
}

// A text that is cut off, or has a few characters too many or others.
inline std::string damaged(Random& random, std::string text, std::string_view other) {
    const std::size_t at = below(random, text.size() + 1);
    switch (below(random, 3)) {
        case 0:
            return text.substr(0, at);
        case 1:
            return text.insert(at, 1, "0 .:'|f\\"[below(random, 8)]);
        default:
            return text.replace(at, 3, other.substr(0, 3));
    }
}

// What holds for a text form: a value's text reads as the value; other texts are refused at a
// position inside of them, and if not, then because they are the text of another value.
template <class T>
void textGivesTheValueBack(Random& random, const auto& write, const auto& read) {
    int refused = 0;
    for (int round = 0; round < 200; ++round) {
        const auto value = randomValue<T>(random);
        const std::string text(write(value).view());
        EXPECT_EQ(read(text), value) << text;
        EXPECT_TRUE(Zin::isUtf8(text)) << text;
        const std::string other = damaged(random, text, write(randomValue<T>(random)).view());
        if (other == text) continue;
        try {
            const T found = read(other);
            if constexpr (oneTextPerValue<T>) {
                EXPECT_EQ(write(found), other);
            }
        } catch (const Zin::TextException& e) {
            EXPECT_LE(e.position(), other.size());
            ++refused;
        } catch (const Zin::TextRangeException& e) {
            EXPECT_LE(e.position(), other.size());
            ++refused;
        } catch (const Zin::RangeException&) {
            // Without a field it says no more than the range.
            EXPECT_FALSE(other.starts_with("Value("));
            ++refused;
        }
    }
    EXPECT_GT(refused, 0);
}

// Values of which many share all fields but one: where order and equality go wrong.
template <class T>
std::vector<T> neighbours(Random& random) {
    std::vector<T> values{T(), randomValue<T>(random)};
    describe::schemaOf<T>.forEach([&](auto field) {
        using Field = typename decltype(field)::Value;
        T changed = values[1];
        field.in(changed) = randomOther<Field>(random, field.in(changed));
        values.push_back(changed);
    });
    values.push_back(values[1]);
    return values;
}

}  // namespace laws

template <class T>
class ValueLaws : public testing::Test {
  protected:
    static constexpr int rounds = 50;
    laws::Random random_{20};
};
TYPED_TEST_SUITE_P(ValueLaws);

TYPED_TEST_P(ValueLaws, EveryFieldCounts) {
    for (int round = 0; round < this->rounds; ++round) {
        const auto value = laws::randomValue<TypeParam>(this->random_);
        const TypeParam copy = value;
        ASSERT_EQ(copy, value);
        describe::schemaOf<TypeParam>.forEach([&](auto field) {
            using Field = typename decltype(field)::Value;
            TypeParam changed = value;
            field.in(changed) = laws::randomOther<Field>(this->random_, field.in(value));
            EXPECT_FALSE(changed == value) << field.name;
            if constexpr (describe::HashedValue<TypeParam>) {
                EXPECT_TRUE(
                    changed.hash(7) != value.hash(7) || laws::mayHashAlike(changed, value))
                    << field.name;
            }
        });
        if constexpr (describe::HashedValue<TypeParam>) {
            EXPECT_EQ(copy.hash(7), value.hash(7));
            EXPECT_NE(value.hash(8), value.hash(7));
        }
    }
}

TYPED_TEST_P(ValueLaws, OnlyTheDefaultIsFalse) {
    EXPECT_FALSE(TypeParam());
    describe::schemaOf<TypeParam>.forEach([&](auto field) {
        using Field = typename decltype(field)::Value;
        TypeParam changed;
        field.in(changed) = laws::randomOther<Field>(this->random_, field.in(changed));
        EXPECT_TRUE(changed) << field.name;
    });
}

TYPED_TEST_P(ValueLaws, OrderIsStrictAndFollowsTheFirstDifference) {
    if constexpr (describe::OrderedValue<TypeParam>) {
        const auto values = laws::neighbours<TypeParam>(this->random_);
        for (const TypeParam& a : values) {
            for (const TypeParam& b : values) {
                EXPECT_EQ((a < b) + (b < a) + (a == b), 1);
                for (const TypeParam& c : values) EXPECT_TRUE(!(a < b && b < c) || a < c);
            }
        }
        for (int round = 0; round < this->rounds; ++round) {
            const auto a = laws::randomValue<TypeParam>(this->random_);
            const auto b = laws::randomValue<TypeParam>(this->random_);
            bool decided = false;
            describe::schemaOf<TypeParam>.forEach([&](auto field) {
                if (decided || field.in(a) == field.in(b)) return;
                decided = true;
                EXPECT_EQ(a < b, field.in(a) < field.in(b)) << field.name;
            });
        }
    }
}

TYPED_TEST_P(ValueLaws, TheAttributeLogGivesTheValueBack) {
    for (int round = 0; round < this->rounds; ++round) {
        const auto value = laws::randomValue<TypeParam>(this->random_);
        const std::vector<std::byte> bytes = laws::encoded(value);
        Zin::NboAttrLog::In in(bytes);
        EXPECT_EQ(in.next<TypeParam>(), value);
        EXPECT_EQ(in.left(), 0u);

        for (std::size_t size = 0; size < bytes.size(); ++size) {
            // A copy of its own, so that a sanitizer sees each byte behind it.
            const std::vector<std::byte> cut(
                bytes.begin(),
                bytes.begin() + static_cast<std::ptrdiff_t>(size));
            Zin::NboAttrLog::In truncated{std::span(cut)};
            EXPECT_THROW(truncated.next<TypeParam>(), Zin::NboAttrLog::DecodeException) << size;
        }
    }
}

TYPED_TEST_P(ValueLaws, TextGivesTheValueBack) {
    if constexpr (Zin::HasStringValue<TypeParam>) {
        laws::textGivesTheValueBack<TypeParam>(
            this->random_,
            [](const TypeParam& value) { return value.stringValue(); },
            TypeParam::fromStringValue);
    }
    if (Zin::valueInfo<TypeParam>.holdsCollection()) {
        const std::string text(valueToStrep(TypeParam()).view());
        EXPECT_NE(text.find("': None"), std::string::npos) << text;
        EXPECT_DEATH(Zin::strepToValue<TypeParam>(text, nullptr), "No String constructor for ");
        return;
    }
    laws::textGivesTheValueBack<TypeParam>(
        this->random_,
        [](const TypeParam& value) { return valueToStrep(value); },
        [](const std::string& text) { return Zin::strepToValue<TypeParam>(text, nullptr); });
    const auto value = laws::randomValue<TypeParam>(this->random_);
    std::ostringstream streamed;
    streamed << value;
    EXPECT_EQ(valueToStrep(value), streamed.str());
}

// Where a field has no text that it could have, the error names it, and says where.
TYPED_TEST_P(ValueLaws, ErrorsNameTheField) {
    const Zin::ValueInfo& type = Zin::valueInfo<TypeParam>;
    if (type.kind != Zin::ValueKind::fields || type.holdsCollection()) return;
    const auto value = laws::randomValue<TypeParam>(this->random_);
    std::string before = type.isWrapper() ? "" : "Value('" + std::string(type.name) + "', ** {";
    for (const Zin::FieldInfo& field : type.fields) {
        if (!type.isWrapper()) before += '\'' + std::string(field.name) + "': ";
        try {
            Zin::strepToValue<TypeParam>(before + "\x01", nullptr);
            ADD_FAILURE() << field.name;
        } catch (const Zin::TextException& e) {
            EXPECT_EQ(e.field().substr(0, e.field().find('.')), field.name);
            EXPECT_EQ(e.position(), before.size());
            EXPECT_NE(std::string(e.what()).find("found '\\x01'"), std::string::npos);
        }
        Zin::appendText(before, *field.type, field.in(&value));
        before += ", ";
    }
}

REGISTER_TYPED_TEST_SUITE_P(
    ValueLaws,
    EveryFieldCounts,
    OnlyTheDefaultIsFalse,
    OrderIsStrictAndFollowsTheFirstDifference,
    TheAttributeLogGivesTheValueBack,
    TextGivesTheValueBack,
    ErrorsNameTheField);
