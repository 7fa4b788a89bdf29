// What holds for every value type, whatever it means: one typed suite that a type joins by
// standing in a list.
//
//     using Types = testing::Types<Vorn::IntfId, Bridging::Dot1qEncap>;
//     INSTANTIATE_TYPED_TEST_SUITE_P(Platform, ValueLaws, Types);
//
// Laws about order, hash and text apply to the types that have them.

#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <span>
#include <string>
#include <vector>

#include "Zin/Exceptions.h"
#include "Zin/NboAttrLogIn.h"
#include "Zin/NboAttrLogOut.h"
#include "Zin/Value.h"
#include "Zin/ValueInfoOf.h"
#include "laws/RandomValue.h"

namespace laws {

// Types that read more than one text as the same value specialise this as false.
template <class T>
inline constexpr bool oneTextPerValue = true;

template <class T>
std::vector<std::byte> encoded(const T& value) {
    std::vector<std::byte> bytes(Zin::NboAttrLog::attrLogSize(value));
    Zin::NboAttrLog::Out out(bytes.data(), bytes.data() + bytes.size());
    out << value;
    EXPECT_EQ(out.room(), 0u) << "attrLogSize announces more than is written";
    return bytes;
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
                EXPECT_NE(changed.hash(7), value.hash(7)) << field.name;
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
        int refused = 0;
        for (int round = 0; round < 4 * this->rounds; ++round) {
            const auto value = laws::randomValue<TypeParam>(this->random_);
            const std::string text(value.stringValue().view());
            EXPECT_EQ(TypeParam::fromStringValue(text), value) << text;

            std::string damaged = text;
            const std::size_t at = laws::below(this->random_, damaged.size() + 1);
            const auto other = laws::randomValue<TypeParam>(this->random_).stringValue();
            switch (laws::below(this->random_, 3)) {
                case 0:
                    damaged.resize(at);
                    break;
                case 1:
                    damaged.insert(at, 1, "0 .:'|f"[laws::below(this->random_, 7)]);
                    break;
                default:
                    damaged.replace(at, 3, other.view().substr(0, 3));
            }
            if (damaged == text) continue;
            try {
                const TypeParam read = TypeParam::fromStringValue(damaged);
                if constexpr (laws::oneTextPerValue<TypeParam>) {
                    EXPECT_EQ(read.stringValue(), damaged);
                }
            } catch (const Zin::TextException& e) {
                EXPECT_LE(e.position(), damaged.size());
                ++refused;
            } catch (const Zin::RangeException&) {
                ++refused;
            }
        }
        EXPECT_GT(refused, 0);
    }
}

REGISTER_TYPED_TEST_SUITE_P(
    ValueLaws,
    EveryFieldCounts,
    OnlyTheDefaultIsFalse,
    OrderIsStrictAndFollowsTheFirstDifference,
    TheAttributeLogGivesTheValueBack,
    TextGivesTheValueBack);
