#include "agent/PeerLabels.h"

#include <cerrno>
#include <cstddef>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <system_error>

#include "Zin/Exceptions.h"
#include "Zin/TextReader.h"

namespace agent {

namespace {

// Lower ones have a meaning of their own (RFC 3032, RFC 7274).
constexpr std::uint64_t leastLabel = 16;
constexpr std::uint64_t mostLabel = 0xfffff;

void readLine(std::string_view line, PeerLabels& labels) {
    Zin::TextReader reader(line);
    const auto key = Pseudowire::PseudowireLdpKey::textNext(reader);
    reader.need(" ");
    const auto label = static_cast<std::uint32_t>(reader.number(leastLabel, mostLabel));
    reader.needEnd();
    if (!labels.emplace(key, Vorn::MplsLabel(label)).second) {
        Zin::TextReader(line).fail("a pseudowire that is not above");
    }
}

}  // namespace

PeerLabels peerLabelsIn(std::string_view text, const std::string& file) {
    PeerLabels labels;
    for (std::size_t number = 1; !text.empty(); ++number) {
        const std::size_t end = text.find('\n');
        const std::string_view line = text.substr(0, end);
        text.remove_prefix(end == text.npos ? text.size() : end + 1);
        if (line.empty() || line.front() == '#') continue;
        try {
            readLine(line, labels);
        } catch (const Zin::TextException& error) {
            throw std::runtime_error(
                file + ':' + std::to_string(number) + ':' +
                std::to_string(error.position() + 1) + ": " + error.what());
        }
    }
    return labels;
}

PeerLabels readPeerLabels(const std::string& file) {
    errno = 0;
    const std::ifstream in(file, std::ios::binary);
    std::ostringstream text;
    if (in.is_open()) text << in.rdbuf();
    // An empty file fails to be copied, too, but without an error of the system.
    if (!in.is_open() || (!text && errno != 0)) {
        throw std::system_error(errno, std::generic_category(), file);
    }
    return peerLabelsIn(text.view(), file);
}

}  // namespace agent
