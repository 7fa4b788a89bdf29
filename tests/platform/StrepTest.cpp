#include <gtest/gtest.h>

#include <set>
#include <sstream>
#include <string>

#include "Interface/IntfTypes.h"
#include "Pseudowire/Dot1qTagOperation.h"
#include "Pseudowire/PseudowireConfig.h"
#include "Pseudowire/PseudowireConnectorStatus.h"
#include "Pseudowire/PseudowireLdpStatusFlags.h"
#include "Pseudowire/PseudowireOxoTypes.h"
#include "Pseudowire/PwPseudowireUserKey.h"
#include "Pseudowire/VidNormalization.h"
#include "Pseudowire/VplsConfig.h"
#include "Tunnel/TunnelTable/TunnelId.h"
#include "Zin/Format.h"
#include "Zin/Strep.h"
#include "laws/RandomPlatformValues.h"
#include "laws/ValueLaws.h"
#include "support/LabTypes.h"

namespace {

using Iterator = Zin::String::IteratorConst;

using LabTypes = testing::Types<Lab::Reagent, Lab::Mixture>;
INSTANTIATE_TYPED_TEST_SUITE_P(Lab, ValueLaws, LabTypes);

// --- Enumerations ---

// Returns the name of the enumeration, whose functions are all found beside it.
template <class E>
std::string familyHolds() {
    const auto holds = [](E value, std::string_view name) {
        EXPECT_EQ(valueToStrep(value), name);
        EXPECT_EQ(stringValue(value), name);
        std::ostringstream streamed;
        streamed << value;
        EXPECT_EQ(streamed.str(), name);
        const Zin::String text = std::string(name) + ", ";
        Iterator it = text.begin();
        E read{};
        sequenceToValue(it, text.end(), &read);
        EXPECT_EQ(read, value);
        Zin::needString(it, text.end(), ", ");
        Zin::strepToValueEnd(it, text.end());
    };
    std::set<std::uint32_t> numbers;
    for (const auto& named : describe::enumerationOf<E>.enumerators) {
        holds(static_cast<E>(named.number), named.name);
        numbers.insert(named.number);
    }
    std::uint32_t unnamed = 0;
    while (numbers.contains(unnamed)) ++unnamed;
    holds(static_cast<E>(unnamed), std::to_string(unnamed));
    const std::string number = std::to_string(*numbers.begin());
    EXPECT_THROW(Zin::strepToValue<E>(number, nullptr), Zin::TextException);
    return std::string(describe::enumerationOf<E>.typeName);
}

template <class... Enumerations>
std::set<std::string> familiesHold() {
    return {familyHolds<Enumerations>()...};
}

TEST(Enumerations, AllHaveTheirFamily) {
    using namespace Pseudowire;
    const std::set<std::string> tested = familiesHold<
        Vorn::AddressFamily,
        ConnectorType,
        Dot1qTagOperation,
        FlowLabelDirection,
        Fxc::VidNormalization,
        GroupIdAllocation,
        PseudowireConnectorStatus,
        PseudowireLdpStatusFlag,
        PseudowireType,
        PseudowireUserKey::UserType,
        QosMapType,
        VccvCcType,
        VccvCvType,
        OxoPw::UnprogrammedReason,
        VplsLdpPseudowireGroupConfig::MacWithdrawalPropagation,
        Tunnel::TunnelTable::TunnelType,
        Interface::EthSpeed,
        Interface::ForwardingModel,
        Interface::LinkStatus,
        Interface::OperStatus,
        Lab::Colour>();
    Zin::forEachModule([&](const Zin::ZinModule& module) {
        for (const Zin::TypeInfo& type : module.types) {
            if (!type.value || type.value->kind != Zin::ValueKind::enumeration) continue;
            EXPECT_TRUE(tested.contains(std::string(type.name()))) << type.name();
        }
    });
    EXPECT_EQ(Pseudowire::valueToStrep(GroupIdAllocation::byPort), "byPort");
    EXPECT_EQ(Pseudowire::Fxc::valueToStrep(Fxc::VidNormalization::double_), "double");
    EXPECT_EQ(Bridging::valueToStrep(Bridging::VlanId(7)), "7");
}

// --- Reading ---

TEST(Strep, IsReadPieceByPieceByHand) {
    const Lab::Reagent salt("salt's", -5);
    const Zin::String text =
        Zin::format("{'mtu': 1500, 'reagent': %s}", valueToStrep(salt).c_str());
    Iterator it = text.begin();
    const Iterator end = text.end();
    Zin::needString(it, end, "{'mtu': ");
    const Iterator start = it;
    EXPECT_THROW(Zin::needString(it, end, "; "), Zin::TextException);
    EXPECT_THROW(Zin::deserializeAttr<bool>(it, end, "mtu"), Zin::TextException);
    EXPECT_THROW(Zin::strepToValueEnd(it, end), Zin::TextException);
    EXPECT_THROW(Zin::needString(it, start, "1"), Zin::TextException) << "beyond the end";
    EXPECT_EQ(it, start) << "a failure moves nothing";
    EXPECT_EQ(Zin::deserializeAttr<std::uint16_t>(it, end, "mtu"), 1500);
    Zin::needString(it, end, ", 'reagent': ");
    EXPECT_EQ(Lab::Reagent(it, end), salt);
    Zin::needString(it, end, "}");
    Zin::strepToValueEnd(it, end);
}

TEST(Strep, ErrorsSayWhatWasExpectedWhereAndWhatWasFound) {
    const std::string range = "Value('Pseudowire::TimeRange', ** {'min': ";
    const std::string connector(valueToStrep(Pseudowire::Connector()).view());
    const auto with = [&](const char* from, const char* to) {
        std::string text = connector;
        return text.replace(text.find(from), std::string_view(from).size(), to);
    };
    const std::pair<std::string, const char*> cases[]{
        {"",
         "expected 'Value(\\'Pseudowire::TimeRange\\', ** {' at position 0, found the end of "
         "the text"},
        {range + "x",
         "field 'min' at position 42: expected a floating-point number, found 'x'"},
        {range + "1, 'most': 2})",
         "expected ', \\'max\\': ' at position 43, found ', \\'most\\': 2})'"},
        {range + "1, 'max': 2}).", "expected the end of the text at position 55, found '.'"},
        {with("'pwStatusTlv': True", "'pwStatusTlv': yes"),
         "field 'end.pwStatusTlv' at position 122: expected True or False, found 'yes, "
         "\\'localVpwsId\\': 0, \\''..."},
        {with("'dot1qEncap': <0,0>", "'dot1qEncap': <1,4095>"),
         "field 'end.dot1qEncap' at position 68: Bridging::VlanIdOrNone::value > 4094 not "
         "allowed, found '<1,4095>, \\'ldpKey\\': none'..."},
    };
    for (const auto& [text, error] : cases) {
        try {
            if (text.starts_with("Value('Pseudowire::Connector'")) {
                const Zin::String whole(text);
                Iterator it = whole.begin();
                Zin::deserializeAttr<Pseudowire::Connector>(it, whole.end(), "end");
            } else {
                Zin::strepToValue<Pseudowire::TimeRange>(text, nullptr);
            }
            ADD_FAILURE() << text;
        } catch (const Zin::Exception& e) {
            EXPECT_STREQ(e.what(), error);
        }
    }
}

TEST(Strep, OfACollectionIsNoneAndCannotBeRead) {
    Lab::Mixture mixture;
    mixture.stirredIs(true);
    mixture.solventsIs(Lab::Reagent("salt", 1));
    const Zin::String text = valueToStrep(mixture);
    EXPECT_EQ(
        text,
        "Value('Lab::Mixture', ** {'stirred': True, 'solvents': None, 'shares': None})");
    EXPECT_DEATH(
        Zin::strepToValue<Lab::Mixture>(text, nullptr),
        "!\"No String constructor for Mixture - has collection\" .Lab:");
    Zin::ValueInfo unregistered = Zin::valueInfo<Lab::Mixture>;
    unregistered.name = "Elsewhere::Mixture";
    Zin::TextReader reader("");
    EXPECT_DEATH(
        Zin::readText(reader, unregistered, &mixture),
        "for Mixture - has collection\" .ValueInfo:");
}

TEST(Strep, ShortFormsAreForPeople) {
    EXPECT_EQ(Lab::Reagent("salt", 1001).toStrep(), "<name=salt;grams=1001;heavy=yes>");
    const Lab::Reagent none;
    EXPECT_EQ(
        Zin::shortForm({{"of", none}, {"tag", Quib::TristateU16()}}),
        "<of=<name=;grams=0;heavy=no>;tag=unset>");
}

TEST(Format, WritesTextOfAnyLength) {
    EXPECT_EQ(Zin::format("%s", ""), "");
    for (const std::size_t size : {1u, 198u, 199u, 200u, 201u, 5000u}) {
        const std::string text(size, 'x');
        EXPECT_EQ(Zin::format("%s", text.c_str()), text);
        EXPECT_EQ(Zin::format("<%s%u>", text.c_str(), 7u), "<" + text + "7>");
    }
}

}  // namespace
