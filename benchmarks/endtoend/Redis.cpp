// Redis: a hash "adj:<id>" for each record, and a channel on which changes are told.

#include <hiredis/hiredis.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "Peer.h"
#include "Records.h"

namespace endtoend {

namespace {

constexpr const char* channelName = "adj";
constexpr const char* lastOfRound = "end ";
constexpr std::uint32_t mostUnderWay = 1000;

struct FreeReply {
    void operator()(redisReply* reply) const { ::freeReplyObject(reply); }
};
using Reply = std::unique_ptr<redisReply, FreeReply>;

class Session {
  public:
    explicit Session(const std::string& socket) : context_(::redisConnectUnix(socket.c_str())) {
        if (!context_ || context_->err != 0) throw std::runtime_error("redis-server: connect");
    }

    // The words of a command, which is sent when a reply is waited for.
    void append(const std::vector<std::string>& words) {
        pointers_.clear();
        sizes_.clear();
        for (const std::string& word : words) {
            pointers_.push_back(word.data());
            sizes_.push_back(word.size());
        }
        if (::redisAppendCommandArgv(
                context_.get(),
                static_cast<int>(words.size()),
                pointers_.data(),
                sizes_.data()) != REDIS_OK) {
            fail();
        }
    }

    Reply reply() {
        void* reply = nullptr;
        if (::redisGetReply(context_.get(), &reply) != REDIS_OK) fail();
        Reply taken(static_cast<redisReply*>(reply));
        if (taken->type == REDIS_REPLY_ERROR) {
            throw std::runtime_error("redis-server: " + std::string(taken->str, taken->len));
        }
        return taken;
    }

    Reply ask(const std::vector<std::string>& words) {
        append(words);
        return reply();
    }

    // Appends `count` commands, of which some are under way at a time, and takes the replies.
    template <class Append, class Take>
    void pipeline(std::uint32_t count, const Append& appendNext, const Take& take) {
        std::uint32_t appended = 0;
        for (std::uint32_t taken = 0; taken < count; ++taken) {
            while (appended < count && appended - taken < mostUnderWay) appendNext(appended++);
            take(*reply());
        }
    }

  private:
    struct Disconnect {
        void operator()(redisContext* context) const { ::redisFree(context); }
    };

    [[noreturn]] void fail() const {
        throw std::runtime_error("redis-server: " + std::string(context_->errstr));
    }

    std::unique_ptr<redisContext, Disconnect> context_;
    std::vector<const char*> pointers_;
    std::vector<std::size_t> sizes_;
};

void require(bool good) {
    if (!good) throw std::runtime_error("redis-server: another reply was expected");
}

std::string keyOf(std::uint32_t i) {
    return "adj:" + std::to_string(keyAt(i).value());
}

std::string text(std::string_view value) {
    return std::string(value);
}
std::string text(bool value) {
    return value ? "1" : "0";
}
std::string text(std::int64_t value) {
    return std::to_string(value);
}

class Redis final : public Peer {
  public:
    Redis() : server_(command(), directory_.path() + "/log") {
        server_.waitForSocket(socket_, directory_.path() + "/log");
    }

    const Process& server() const override { return server_; }

    void insert(std::uint32_t members) const override {
        Session session(socket_);
        session.pipeline(
            members,
            [&](std::uint32_t i) {
                std::vector<std::string> words{"HSET", keyOf(i)};
                forEachField(valueAt(i), [&](const char* name, auto value) {
                    words.emplace_back(name);
                    words.push_back(text(value));
                });
                session.append(words);
            },
            [](const redisReply& reply) { require(reply.integer > 0); });
    }

    // The client knows the keys. It makes objects of the replies, as this client library does.
    std::uint64_t readAll(std::uint32_t members) const override {
        Session session(socket_);
        const std::uint64_t before = socketBytes(session);
        session.pipeline(
            members,
            [&](std::uint32_t i) {
                session.append({"HGETALL", keyOf(i)});
            },
            [](const redisReply& reply) { require(reply.elements > 0); });
        return socketBytes(session) - before;
    }

    // What is told carries the change, so that a subscriber need not ask for it.
    void change(Changes changes, std::uint32_t count, std::uint32_t round) const override {
        Session session(socket_);
        Changes::Change change{};
        session.pipeline(
            2 * count,
            [&](std::uint32_t i) {
                if (i % 2 == 0) change = changes.next();
                const std::string key = keyOf(change.member);
                const std::string value = std::to_string(change.tunnelId);
                session.append(
                    i % 2 == 0 ? std::vector<std::string>{"HSET", key, "tunnelId", value}
                               : std::vector<std::string>{
                                     "PUBLISH",
                                     channelName,
                                     key + " tunnelId " + value});
            },
            [](const redisReply& reply) { require(reply.type == REDIS_REPLY_INTEGER); });
        session.ask({"PUBLISH", channelName, lastOfRound + std::to_string(round)});
    }

    std::uint64_t hear(std::uint32_t round, const std::function<void()>& subscribed)
        const override {
        Session session(socket_);
        session.ask({"SUBSCRIBE", channelName});
        subscribed();
        const std::string last = lastOfRound + std::to_string(round);
        for (std::uint64_t heard = 0;; ++heard) {
            const Reply message = session.reply();
            require(message->elements == 3);
            const redisReply& told = *message->element[2];
            if (std::string_view(told.str, told.len) == last) return heard;
        }
    }

  private:
    // By default a subscriber that does not read is cut off after 32 MB; ours may lag.
    std::vector<std::string> command() const {
        return {
            installed("redis-server"),
            "--port",
            "0",
            "--unixsocket",
            socket_,
            "--save",
            "",
            "--appendonly",
            "no",
            "--client-output-buffer-limit",
            "pubsub 0 0 0"};
    }

    // That the server ever read and wrote.
    static std::uint64_t socketBytes(Session& session) {
        const Reply reply = session.ask({"INFO", "stats"});
        const std::string_view info(reply->str, reply->len);
        const auto number = [&](std::string_view name) {
            const std::size_t at = info.find(name);
            require(at != info.npos);
            return std::stoull(std::string(info.substr(at + name.size(), 20)));
        };
        return number("total_net_input_bytes:") + number("total_net_output_bytes:");
    }

    TemporaryDirectory directory_;
    std::string socket_ = directory_.path() + "/socket";
    Process server_;
};

}  // namespace

std::unique_ptr<Peer> startRedis() {
    return std::make_unique<Redis>();
}

}  // namespace endtoend
