// OVSDB: a table with one column per field, spoken to in JSON-RPC (RFC 7047). The identity of a
// row follows from the record's key, which lets a client name the row that it changes by what
// the server finds it by without a search.

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <fstream>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include "Peer.h"
#include "Records.h"

namespace endtoend {

namespace {

using nlohmann::json;

// --- The stream of messages ---

// Finds where a JSON object ends. Brackets in strings do not count.
class JsonEnd {
  public:
    // How many of the bytes belong to the object that is under way; all of them when it does
    // not end there.
    std::size_t feed(std::string_view bytes) {
        ended_ = false;
        for (std::size_t i = 0; i < bytes.size(); ++i) {
            if (take(bytes[i])) {
                ended_ = true;
                return i + 1;
            }
        }
        return bytes.size();
    }
    bool ended() const { return ended_; }

  private:
    bool take(char c) {
        if (inString_) {
            if (escaped_) {
                escaped_ = false;
            } else if (c == '\\') {
                escaped_ = true;
            } else if (c == '"') {
                inString_ = false;
            }
            return false;
        }
        if (c == '"') inString_ = true;
        if (c == '{') ++depth_;
        return c == '}' && --depth_ == 0;
    }

    int depth_ = 0;
    bool inString_ = false;
    bool escaped_ = false;
    bool ended_ = false;
};

class Session {
  public:
    explicit Session(const std::string& socket)
        : fd_(Zin::NboAttrLog::connectTo(
              Zin::NboAttrLog::Address::fromText("unix:" + socket))) {}

    // Takes what comes meanwhile: a server may want to be read before it reads.
    void send(std::string_view text) {
        while (!text.empty()) {
            pollfd ready{fd_.get(), POLLIN | POLLOUT, 0};
            if (::poll(&ready, 1, -1) < 0 && errno != EINTR) fail("poll");
            if ((ready.revents & POLLIN) != 0) receive();
            if ((ready.revents & POLLOUT) == 0) continue;
            const ssize_t sent =
                ::send(fd_.get(), text.data(), text.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
            if (sent >= 0) text.remove_prefix(static_cast<std::size_t>(sent));
            if (sent < 0 && errno != EAGAIN && errno != EINTR) fail("send");
        }
    }

    // The next whole message; valid until the next call.
    std::string_view next() {
        std::size_t size = 0;
        for (JsonEnd end;;) {
            size += end.feed(std::string_view(input_).substr(taken_ + size));
            if (end.ended()) break;
            input_.erase(0, std::exchange(taken_, 0));
            receive();
        }
        taken_ += size;
        return std::string_view(input_).substr(taken_ - size, size);
    }

    // Passes over what comes until it ends with the text. Throws what came when that does not
    // begin as expected. How many bytes came. REQUIRES: nothing came before.
    std::uint64_t passUntil(std::string_view end, std::string_view expectedBegin) {
        constexpr std::size_t kept = std::size_t{64} << 10;
        std::uint64_t passed = 0;
        bool begun = false;
        while (!input_.ends_with(end)) {
            receive();
            if (!begun && input_.size() >= expectedBegin.size()) {
                if (!input_.starts_with(expectedBegin)) throw std::runtime_error(input_);
                begun = true;
            }
            if (begun && input_.size() > kept) {
                const std::size_t surplus = input_.size() - end.size();
                passed += surplus;
                input_.erase(0, surplus);
            }
        }
        passed += input_.size();
        input_.clear();
        return passed;
    }

  private:
    [[noreturn]] static void fail(const char* what) {
        throw std::system_error(errno, std::generic_category(), what);
    }

    void receive() {
        constexpr std::size_t chunk = std::size_t{64} << 10;
        const std::size_t size = input_.size();
        input_.resize(size + chunk);
        const ssize_t got = ::recv(fd_.get(), input_.data() + size, chunk, 0);
        input_.resize(size + static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
        if (got == 0) throw std::runtime_error("ovsdb-server closed the connection");
        if (got < 0 && errno != EINTR) fail("recv");
    }

    Fd fd_;
    std::string input_;
    std::size_t taken_ = 0;
};

// --- Requests ---

constexpr const char* database = "EndToEnd";
constexpr const char* table = "EncapAdjacency";

const char* columnType(std::string_view) {
    return "string";
}
const char* columnType(bool) {
    return "boolean";
}
const char* columnType(std::int64_t) {
    return "integer";
}

json columns() {
    json all = {{"intfId", {{"type", "integer"}}}};
    forEachField(Pseudowire::EncapAdjacency(), [&](const char* name, auto value) {
        all[name] = {{"type", columnType(value)}};
    });
    return all;
}

// As if it were random, as servers expect: the bits of the key are, and come first.
std::string uuidOf(Vorn::IntfId key) {
    char text[37];
    const std::uint64_t id = key.value();
    std::snprintf(
        text,
        sizeof text,
        "%08x-%04x-4000-8000-%012x",
        static_cast<unsigned>(id >> 32),
        static_cast<unsigned>(id >> 16 & 0xffff),
        static_cast<unsigned>(id & 0xffff));
    return text;
}

// Requests are written by hand: a client library that is slower than the server would be
// measured in its place.
void append(std::string& out, std::string_view text) {
    out += '"';
    out += text;
    out += '"';
}
void append(std::string& out, bool flag) {
    out += flag ? "true" : "false";
}
void append(std::string& out, std::int64_t number) {
    out += std::to_string(number);
}

void appendInsert(std::string& out, std::uint32_t i) {
    const Vorn::IntfId key = keyAt(i);
    out += R"(,{"op":"insert","table":"EncapAdjacency","uuid":")" + uuidOf(key) +
           R"(","row":{"intfId":)" + std::to_string(static_cast<std::int64_t>(key.value()));
    forEachField(valueAt(i), [&](const char* name, auto value) {
        out += ",\"";
        out += name;
        out += "\":";
        append(out, value);
    });
    out += "}}";
}

void appendUpdate(std::string& out, std::uint32_t member, const std::string& assignment) {
    out += R"(,{"op":"update","table":"EncapAdjacency","where":[["_uuid","==",["uuid",")" +
           uuidOf(keyAt(member)) + R"("]]],"row":{)" + assignment + "}}";
}

// Keeps some transactions under way at a time.
class Transactions {
  public:
    Transactions(Session& session, int mostUnderWay)
        : session_(session), mostUnderWay_(mostUnderWay) {}

    // Operations, each behind a comma.
    void begin(const std::string& operations) {
        session_.send(
            R"({"method":"transact","id":0,"params":["EndToEnd")" + operations + "]}");
        ++underWay_;
        while (underWay_ >= mostUnderWay_) takeReply();
    }
    void finish() {
        while (underWay_ > 0) takeReply();
    }

  private:
    void takeReply() {
        const std::string_view text = session_.next();
        const json reply = json::parse(text);
        bool good = reply["error"].is_null();
        for (const json& result : reply["result"]) {
            good = good && (result.contains("uuid") || result.value("count", 0) == 1);
        }
        if (!good) throw std::runtime_error("ovsdb-server: " + std::string(text));
        --underWay_;
    }

    Session& session_;
    int mostUnderWay_;
    int underWay_ = 0;
};

// --- The peer ---

std::string endOf(std::uint32_t round) {
    return "end of round " + std::to_string(round);
}

class Ovsdb final : public Peer {
  public:
    Ovsdb() : server_(command(), directory_.path() + "/log") {
        server_.waitForSocket(socket_, directory_.path() + "/log");
    }

    const Process& server() const override { return server_; }

    void insert(std::uint32_t members) const override {
        constexpr std::uint32_t batch = 5000;
        Session session(socket_);
        Transactions transactions(session, 2);
        std::string operations;
        for (std::uint32_t i = 0; i < members; ++i) {
            appendInsert(operations, i);
            if ((i + 1) % batch == 0 || i + 1 == members) {
                transactions.begin(operations);
                operations.clear();
            }
        }
        transactions.finish();
    }

    // What is read is counted and thrown away.
    std::uint64_t readAll(std::uint32_t) const override {
        Session session(socket_);
        return monitor(session);
    }

    void change(Changes changes, std::uint32_t count, std::uint32_t round) const override {
        constexpr int mostUnderWay = 500;
        Session session(socket_);
        Transactions transactions(session, mostUnderWay);
        std::string operation;
        for (std::uint32_t i = 0; i < count; ++i) {
            const Changes::Change change = changes.next();
            operation.clear();
            appendUpdate(
                operation,
                change.member,
                "\"tunnelId\":" + std::to_string(change.tunnelId));
            transactions.begin(operation);
        }
        operation.clear();
        appendUpdate(operation, 0, R"("patchName":")" + endOf(round) + '"');
        transactions.begin(operation);
        transactions.finish();
    }

    std::uint64_t hear(std::uint32_t round, const std::function<void()>& subscribed)
        const override {
        Session session(socket_);
        monitor(session);
        subscribed();
        std::uint64_t heard = 0;
        for (const std::string end = endOf(round);;) {
            const std::string_view update = session.next();
            constexpr std::string_view row = R"("new":)";
            for (std::size_t at = 0; (at = update.find(row, at)) != update.npos; ++at) ++heard;
            if (update.find(end) != update.npos) return heard - 1;
        }
    }

  private:
    std::vector<std::string> command() const {
        const std::string server = installed("ovsdb-server");
        const std::string file = directory_.path() + "/database";
        const std::string schema = directory_.path() + "/schema";
        const json content = {
            {"name", database},
            {"version", "1.0.0"},
            {"tables", {{table, {{"columns", columns()}, {"isRoot", true}}}}}};
        std::ofstream(schema) << content;
        runToEnd({installed("ovsdb-tool"), "create", file, schema}, directory_.path() + "/log");
        return {
            server,
            "--remote=punix:" + socket_,
            "--unixctl=" + directory_.path() + "/control",
            "-vconsole:warn",
            "-vsyslog:off",
            file};
    }

    // Begins monitoring and passes over the rows that there are. The bytes of the reply.
    static std::uint64_t monitor(Session& session) {
        json names = json::array();
        const json all = columns();
        for (const auto& column : all.items()) names.push_back(column.key());
        const json request = {
            {"method", "monitor"},
            {"id", "all"},
            {"params", {database, nullptr, {{table, {{"columns", names}}}}}}};
        // The answer to this one tells that the one before has ended.
        const json last = {{"method", "echo"}, {"id", "end"}, {"params", json::array()}};
        session.send(request.dump() + last.dump());
        return session.passUntil(
            R"({"id":"end","result":[],"error":null})",
            R"({"id":"all","result":{)");
    }

    TemporaryDirectory directory_;
    std::string socket_ = directory_.path() + "/socket";
    Process server_;
};

}  // namespace

std::unique_ptr<Peer> startOvsdb() {
    return std::make_unique<Ovsdb>();
}

}  // namespace endtoend
