// Configures the pseudowires that are named as NAME=ADDRESS:ID, and prints what the entity
// holds.

#include <exception>
#include <iostream>
#include <span>
#include <string_view>

#include "Pseudowire/PseudowireConfig.h"

namespace {

void addPseudowire(Pseudowire::Config& config, std::string_view text) {
    const auto equals = text.find('=');
    if (equals == std::string_view::npos) throw Zin::Exception("expected NAME=ADDRESS:ID");
    Pseudowire::ConnectorKey key;
    key.ldpConnectorKeyIs(text.substr(0, equals));
    Pseudowire::Connector connector(key);
    connector.ldpKeyIs(Pseudowire::PseudowireLdpKey::fromStringValue(text.substr(equals + 1)));
    config.connectorIs(connector);
}

}  // namespace

int main(int argc, char** argv) try {
    const auto config = Pseudowire::configFactory("pw");
    const auto attached = frame::attach<&Pseudowire::Config::Notifiee::onConnector>(
        config,
        [&](const Pseudowire::ConnectorKey& key) {
            std::cout << key.stringValue().view() << " leads to "
                      << config->connector(key).ldpKey().stringValue().view() << '\n';
        });
    for (const char* const text : std::span(argv, static_cast<std::size_t>(argc)).subspan(1)) {
        addPseudowire(*config, text);
    }
} catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return 2;
}
