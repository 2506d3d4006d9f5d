#include "platform/cloudkit/HttpTransport.h"

#include <gmock/gmock.h>

#include <atomic>
#include <future>
#include <utility>

#include "cloudkit/ImpatientDispatch.h"
#include "cloudkit/ScriptedHttpServer.h"
#include "platform/cloudkit/EventStreamParser.h"
#include "platform/cloudprotocol/MessageCodec.h"
#include "platform/foundation/SystemDispatch.h"
#include "support/TestEnvironment.h"

namespace zun {
namespace {

using testing::ElementsAre;
using Seen = ScriptedHttpServer::Seen;

class HttpTransportTest : public testing::Test {
  protected:
    cloud::Answer ask(HttpTransport& transport, cloud::Request request) {
        std::mutex mutex;
        std::optional<cloud::Answer> received;
        transport.send("secret", std::move(request), [&](cloud::Answer answer) {
            {
                const std::scoped_lock lock(mutex);
                received = std::move(answer);
            }
            dispatch.notify();
        });
        dispatch.waitUntil([&] {
            const std::scoped_lock lock(mutex);
            return received.has_value();
        });
        return std::move(*received);
    }
    cloud::Answer askAt(const ServiceAddress& address, cloud::Request request) {
        HttpTransport transport(address, dispatch, environment);
        return ask(transport, std::move(request));
    }
    CKError errorAt(const ServiceAddress& address) {
        auto answer = askAt(address, cloud::FetchZones{});
        const auto* error = std::get_if<CKError>(&answer);
        return error ? *error : CKError{CKErrorCode{}, "no error", {}};
    }

    SystemDispatch dispatch{std::make_shared<LoopQueue>()};
    TestEnvironment environment;
};

TEST_F(HttpTransportTest, RequestsShareAConnectionAndCarryWhoAsks) {
    const cloud::Zones zones{{{"Reminders", "__defaultOwner__"}}};
    ScriptedHttpServer server(
        [&](const Seen&) { return ScriptedHttpServer::answer("200 OK", cloud::encode(cloud::Answer(zones))); });
    HttpTransport transport({server.URL() + "/", {}}, dispatch, environment);
    for (int i = 0; i < 3; ++i) {
        const auto answer = ask(transport, cloud::FetchZones{cloud::DatabaseScope::Shared});
        ASSERT_TRUE(std::holds_alternative<cloud::Zones>(answer));
        EXPECT_EQ(std::get<cloud::Zones>(answer).zones, zones.zones);
    }
    const auto seen = server.seen();
    ASSERT_EQ(seen.size(), 3u);
    EXPECT_EQ(seen[2].connection, 1);
    EXPECT_EQ(seen[0].line, "POST /v1/zones/fetch HTTP/1.1");
    EXPECT_EQ(seen[0].body, R"({"database":"shared"})");
    EXPECT_EQ(seen[0].headers.at("authorization"), "Bearer secret");
    EXPECT_EQ(seen[0].headers.at("zun-protocol"), "1");
    EXPECT_FALSE(seen[0].headers.contains("expect"));
}

TEST_F(HttpTransportTest, WhatComesBackBecomesTheErrorThatItMeans) {
    CKError throttled{CKErrorCode::RequestRateLimited, "slow down", {}};
    throttled.userInfo.CKErrorRetryAfterKey = 0.25;
    struct Case {
        std::string bytes;
        CKErrorCode code;
        double retryAfter;
    };
    const auto answer = &ScriptedHttpServer::answer;
    const std::vector<Case> cases{
        {answer("429 Too Many", cloud::encode(cloud::Answer(throttled)), ""), CKErrorCode::RequestRateLimited, 0.25},
        {answer("429 Too Many", "busy", "Retry-After: 7\r\n"), CKErrorCode::RequestRateLimited, 7},
        {answer("503 Unavailable", "<html>", "Retry-After: 12\r\n"), CKErrorCode::ServiceUnavailable, 12},
        {answer("502 Bad Gateway", "", ""), CKErrorCode::NetworkFailure, 0},
        {answer("401 Unauthorized", "", ""), CKErrorCode::NotAuthenticated, 0},
        {answer("200 OK", "<html>please sign in to this network</html>", ""), CKErrorCode::InternalError, 0},
        {answer("200 OK", cloud::encode(cloud::Answer(throttled)), ""), CKErrorCode::InternalError, 0},
        {answer("500 Error", R"({"zones":[]})", ""), CKErrorCode::InternalError, 0},
        {answer("302 Found", "", "Location: http://127.0.0.1:1/\r\n"), CKErrorCode::InternalError, 0},
        {"", CKErrorCode::NetworkFailure, 0},
        {"HTTP/1.1 200 OK\r\ncontent-length: 100\r\n\r\n{\"zones\"", CKErrorCode::NetworkFailure, 0},
    };
    for (const auto& one : cases) {
        ScriptedHttpServer server([&](const Seen&) { return one.bytes; });
        const auto error = errorAt({server.URL(), {}});
        EXPECT_EQ(error.code, one.code) << one.bytes << ": " << error.description;
        EXPECT_EQ(error.retryAfter(), one.retryAfter) << one.bytes;
    }
    std::string gone;
    {
        ScriptedHttpServer server([](const Seen&) { return std::string(); });
        gone = server.URL();
    }
    EXPECT_EQ(errorAt({gone, {}}).code, CKErrorCode::NetworkUnavailable);
    EXPECT_EQ(errorAt({"http://no-such-host.invalid", {}}).code, CKErrorCode::NetworkUnavailable);
}

// As a sign-in holds it: whichever thread lets go of it last.
TEST_F(HttpTransportTest, MayBeHeldByNobodyButItsOwnAnswer) {
    ScriptedHttpServer server([](const Seen&) { return ScriptedHttpServer::answer("200 OK", R"({"zones":[]})"); });
    for (int i = 0; i < 50; ++i) {
        std::promise<void> answered;
        auto transport = std::make_shared<HttpTransport>(ServiceAddress{server.URL(), {}}, dispatch, environment);
        auto& road = *transport;
        road.send({}, cloud::FetchZones{}, [held = std::move(transport), &answered](const cloud::Answer& answer) {
            EXPECT_TRUE(std::holds_alternative<cloud::Zones>(answer));
            answered.set_value();
        });
        answered.get_future().wait();
    }
}

TEST_F(HttpTransportTest, ASelfSignedCertificateIsTakenOnlyByItsFingerprint) {
    const auto script = [](const Seen&) { return ScriptedHttpServer::answer("200 OK", R"({"zones":[]})"); };
    ScriptedHttpServer server(script, ScriptedHttpServer::Security::SelfSigned);
    ScriptedHttpServer impostor(script, ScriptedHttpServer::Security::SelfSigned);
    const auto fetched = fetchServiceCertificate(server.URL());
    ASSERT_TRUE(std::holds_alternative<ServiceCertificate>(fetched));
    const auto& certificate = std::get<ServiceCertificate>(fetched);
    EXPECT_THAT(certificate.fingerprint, testing::MatchesRegex("([0-9A-F][0-9A-F]:){31}[0-9A-F][0-9A-F]"));
    EXPECT_EQ(certificate.subject, "CN = zun.example");
    EXPECT_THAT(certificate.notAfter, testing::HasSubstr("GMT"));
    EXPECT_FALSE(certificate.isVouchedFor);

    EXPECT_EQ(errorAt({server.URL(), {}}).code, CKErrorCode::NetworkFailure);
    EXPECT_EQ(errorAt({server.URL(), certificate.fingerprint}).code, CKErrorCode{});
    EXPECT_EQ(errorAt({impostor.URL(), certificate.fingerprint}).code, CKErrorCode::NetworkFailure);
    EXPECT_TRUE(impostor.seen().empty());
}

// Its completion keeps the transport, which keeps the completion: somebody has to end that.
TEST_F(HttpTransportTest, ClosingEndsWhatIsUnderWayThoughItHoldsTheTransport) {
    std::promise<void> asked, goOn, gone;
    ScriptedHttpServer server([&, isAsked = false](const Seen&) mutable {
        if (!std::exchange(isAsked, true)) asked.set_value();
        goOn.get_future().wait();
        return ScriptedHttpServer::answer("200 OK", "{}");
    });
    std::shared_ptr<HttpTransport> transport(new HttpTransport({server.URL(), {}}, dispatch, environment),
                                             [&gone](HttpTransport* last) {
                                                 delete last;
                                                 gone.set_value();
                                             });
    std::atomic<bool> hasFailed = false;
    transport->send("secret", cloud::FetchZones{}, [transport, &hasFailed, this](const cloud::Answer& answer) {
        hasFailed = std::holds_alternative<CKError>(answer);
        dispatch.notify();
    });
    asked.get_future().wait();
    transport->close();
    dispatch.waitUntil([&] { return hasFailed.load(); });
    transport.reset();
    gone.get_future().wait();
    goOn.set_value();
}

TEST_F(HttpTransportTest, APushStreamGoesOnWhereItBroke) {
    const cloud::Push push{7, cloud::Push::Kind::Database, "all", std::nullopt, cloud::Push::Reason::Updated};
    std::atomic<int> connections = 0;
    ScriptedHttpServer server([&](const Seen&) -> std::string {
        const std::string head = "HTTP/1.1 200 OK\r\nContent-Type: text/event-stream\r\n\r\n";
        switch (++connections) {
            case 1:
            case 2:
                return ScriptedHttpServer::answer("503 Unavailable", "");
            case 3:
                return head + ": hello\n\nevent: opened\nid: 6\ndata: {\"gap\":false}\n\nevent: push\nid: 7\ndata: " +
                       cloud::encode(push) + "\n\n";
            case 4:
                return head + "event: opened\nid: 9\ndata: {\"gap\":true}\n\n";
            default:
                return ScriptedHttpServer::answer("401 Unauthorized", "");
        }
    });
    ImpatientDispatch impatient(dispatch);
    HttpTransport transport({server.URL(), {}}, impatient, environment);
    std::mutex mutex;
    std::vector<std::string> told;
    const auto tell = [&](const std::string& word) {
        {
            const std::scoped_lock lock(mutex);
            told.push_back(word);
        }
        dispatch.notify();
    };
    CloudTransport::PushHandlers handlers;
    handlers.push = [&](const cloud::Push& each) { tell("push " + std::to_string(each.number)); };
    handlers.opened = [&](bool hasGap) { tell(hasGap ? "gap" : "opened"); };
    handlers.broken = [&] { tell("broken"); };
    const auto stream = transport.openPushStream("secret", handlers);
    dispatch.waitUntil([&] {
        const std::scoped_lock lock(mutex);
        return told.size() == 5;
    });
    EXPECT_THAT(told, ElementsAre("opened", "push 7", "broken", "gap", "broken"));
    const auto seen = server.seen();
    ASSERT_GE(seen.size(), 4u);
    EXPECT_EQ(seen[0].line, "GET /v1/push HTTP/1.1");
    EXPECT_FALSE(seen[2].headers.contains("last-event-id"));
    EXPECT_EQ(seen[3].headers.at("last-event-id"), "7");
    // A second, then twice that, each shortened by up to half; from the beginning after a success.
    using std::chrono::milliseconds;
    const auto waits = impatient.waits();
    ASSERT_GE(waits.size(), 3u);
    const milliseconds longest[] = {milliseconds(1000), milliseconds(2000), milliseconds(1000)};
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_LE(waits[i], longest[i]);
        EXPECT_GE(waits[i], longest[i] / 2);
    }
}

TEST(EventStreamParser, TakesBytesInAnyPieces) {
    const std::string stream = ": comment\r\nid: 5\nevent: push\ndata: a\ndata:b\r\r\ndata: last\n\nevent: nothing\n\n";
    for (std::size_t size = 1; size <= stream.size(); ++size) {
        std::vector<std::string> told;
        EventStreamParser parser([&](const EventStreamParser::Event& event) {
            told.push_back(event.name + "|" + event.data + "|" + event.identifier);
        });
        for (std::size_t i = 0; i < stream.size(); i += size)
            EXPECT_TRUE(parser.take(std::string_view(stream).substr(i, size)));
        EXPECT_THAT(told, ElementsAre("push|a\nb|5", "message|last|5")) << size;
    }
    EventStreamParser parser([](const auto&) {});
    EXPECT_FALSE(parser.take(std::string(100'000, 'x')));
}

}  // namespace
}  // namespace zun
