// The service as a network sees it: over TCP, a local socket and TLS, with clients that behave and clients that do not.

#include <gmock/gmock.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

#include <boost/asio/connect.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/local/stream_protocol.hpp>
#include <boost/asio/read.hpp>
#include <boost/asio/read_until.hpp>
#include <boost/asio/ssl.hpp>
#include <boost/asio/write.hpp>
#include <future>
#include <semaphore>

#include "platform/cloudprotocol/MessageCodec.h"
#include "server/http/HttpFront.h"
#include "server/http/HttpRules.h"
#include "server/http/SideThreads.h"
#include "support/ServiceWorld.h"
#include "support/TemporaryFolder.h"

namespace zun::cloud {
namespace {

namespace asio = boost::asio;
using asio::ip::tcp;
using testing::HasSubstr;
using testing::StartsWith;

// A storage whose writes wait until they are let go.
class HeldStorage final : public Storage {
  public:
    void write(Work work, Done done) override {
        std::unique_lock lock(_mutex);
        if (!isHolding) {
            lock.unlock();
            _storage.write(std::move(work), std::move(done));
            return;
        }
        _held.emplace_back(std::move(work), std::move(done));
        _news.notify_all();
    }
    void read(Work work, Done done) override { _storage.read(std::move(work), std::move(done)); }
    void setWakeListener(WakeListener listener) override { _storage.setWakeListener(std::move(listener)); }
    void dump(const RowVisitor& visitor) override { _storage.dump(visitor); }
    void load(const std::function<void(const RowVisitor& add)>& rows) override { _storage.load(rows); }
    std::vector<std::string> check() override { return {}; }

    void hold() {
        std::lock_guard lock(_mutex);
        isHolding = true;
    }
    void waitForWrite() {
        std::unique_lock lock(_mutex);
        _news.wait(lock, [this] { return !_held.empty(); });
    }
    void letGo() {
        std::unique_lock lock(_mutex);
        isHolding = false;
        auto held = std::move(_held);
        lock.unlock();
        for (auto& [work, done] : held)
            _storage.write(std::move(work), std::move(done));
    }

  private:
    MemoryStorage _storage;
    std::mutex _mutex;
    std::condition_variable _news;
    bool isHolding = false;
    std::vector<std::pair<Work, Done>> _held;
};

template <class Stream>
class Client {
  public:
    template <class... Arguments>
    explicit Client(Arguments&&... arguments) : stream(std::forward<Arguments>(arguments)...) {}
    void say(const std::string& text) { asio::write(stream, asio::buffer(text)); }
    // The next answer: its head and body.
    std::string answer() {
        const auto head = until("\r\n\r\n");
        const auto at = head.find("Content-Length: ");
        if (at == std::string::npos) return head;
        const auto length = std::stoul(head.substr(at + 16));
        while (_received.size() < length && more()) {
        }
        const auto body = _received.substr(0, length);
        _received.erase(0, length);
        return head + body;
    }
    std::string until(const std::string& end) {
        while (_received.find(end) == std::string::npos && more()) {
        }
        const auto at = _received.find(end);
        const auto length = at == std::string::npos ? _received.size() : at + end.size();
        const auto text = _received.substr(0, length);
        _received.erase(0, length);
        return text;
    }
    // Everything until the other side ends the connection.
    std::string rest() {
        while (more()) {
        }
        return std::move(_received);
    }
    Stream stream;

  private:
    bool more() {
        std::array<char, 4'096> bytes{};
        boost::system::error_code error;
        const auto count = stream.read_some(asio::buffer(bytes), error);
        _received.append(bytes.data(), count);
        return !error;
    }
    std::string _received;
};

std::string posted(std::string_view path, const std::string& token, const std::string& body,
                   const std::string& more = {}) {
    return "POST /v1/" + std::string(path) + " HTTP/1.1\r\nHost: x\r\nAuthorization: Bearer " + token + "\r\n" + more +
           "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}
std::string posted(const std::string& token, const Request& request) {
    return posted(pathOf(request), token, encode(request));
}

class Http : public testing::Test {
  protected:
    void SetUp() override { start({}); }
    void start(HttpOptions options) {
        front.reset();
        world.restart();
        if (options.listen == HttpOptions().listen) options.listen = "127.0.0.1:0";
        options.healthListen = "127.0.0.1:0";
        front = std::make_unique<HttpFront>(*world.service, *world.storage, options, [this](std::string_view line) {
            std::lock_guard lock(mutex);
            log += std::string(line) + "\n";
        });
        front->start();
    }
    [[nodiscard]] std::unique_ptr<Client<tcp::socket>> connect(unsigned short port = 0) {
        auto client = std::make_unique<Client<tcp::socket>>(io);
        client->stream.connect({asio::ip::address_v4::loopback(), port == 0 ? front->port() : port});
        return client;
    }

    asio::io_context io;
    ServiceWorld world{std::make_unique<HeldStorage>()};
    std::mutex mutex;
    std::string log;
    std::unique_ptr<HttpFront> front;
};

TEST_F(Http, AnswersRequestsOneAfterTheOtherOnOneConnection) {
    const TestDevice device(world, "anna");
    const auto client = connect();
    const Request make = ModifyZones{DatabaseScope::Private, {remindersZone}, {}};
    // All at once: each answer must be the one to its request.
    client->say(posted(device.token, make) + posted(device.token, FetchZones{}) + posted("", FetchZones{}) +
                posted("no/such", device.token, "{}") + posted(device.token, FetchAccount{}));
    EXPECT_THAT(client->answer(), HasSubstr("\"saved\""));
    EXPECT_THAT(client->answer(), HasSubstr("\"zones\""));
    EXPECT_THAT(client->answer(), StartsWith("HTTP/1.1 401 "));
    EXPECT_THAT(client->answer(), StartsWith("HTTP/1.1 400 "));
    EXPECT_THAT(client->answer(), HasSubstr(device.accountID));
    client->say("GET /elsewhere HTTP/1.1\r\nHost: x\r\n\r\n");
    EXPECT_THAT(client->answer(), StartsWith("HTTP/1.1 404 "));
    client->say(posted("zones/fetch", device.token, "{}", "Zun-Protocol: 99\r\n"));
    EXPECT_THAT(client->answer(), HasSubstr("\"code\":18"));
}

TEST_F(Http, RefusesWhatIsTooLargeTooLongOrNoHttp) {
    HttpOptions options;
    options.bodyLimit = 1'000;
    options.headerLimit = 500;
    start(options);
    const std::pair<std::string, const char*> cases[] = {
        {posted("zones/fetch", "", std::string(2'000, ' ')), "HTTP/1.1 413 "},
        {posted("zones/fetch", std::string(1'000, 'x'), ""), "HTTP/1.1 400 "},
        {std::string("nonsense\r\n\r\n"), "HTTP/1.1 400 "},
    };
    for (const auto& [text, expected] : cases) {
        const auto client = connect();
        client->say(text);
        EXPECT_THAT(client->rest(), StartsWith(expected));
    }
    options.requestTimeout = std::chrono::seconds(1);
    options.idleTimeout = std::chrono::seconds(1);
    start(options);
    const auto slow = connect();
    slow->say("POST /v1/zones/fetch HTTP/1.1\r\nContent-Length: 10\r\n\r\n");
    EXPECT_EQ(slow->rest(), "") << "who does not go on is hung up on";
}

TEST_F(Http, ReadsLongBodiesOfItsDevicesOnlyAndNotTooManyAtOnce) {
    const TestDevice device(world, "anna");
    device.makeZone();
    HttpOptions options;
    options.bodiesLimit = 40'000;
    start(options);
    const auto begin = [&](const std::string& token, const std::string& length) {
        auto client = connect();
        client->say("POST /v1/records/modify HTTP/1.1\r\nAuthorization: Bearer " + token + "\r\n" + length +
                    "\r\n\r\n");
        return client;
    };
    for (const auto& token : {std::string(), std::string("nobody"), device.token + "x"})
        for (const auto* length : {"Content-Length: 40000", "Transfer-Encoding: chunked"})
            EXPECT_THAT(begin(token, length)->answer(), StartsWith("HTTP/1.1 401 ")) << "before any of it was sent";
    const Request save =
        ModifyRecords{DatabaseScope::Private, SavePolicy::AllKeys, {makeRecord("r", std::string(35'000, 'x'))}, {}};
    const auto body = encode(save);
    const auto first =
        begin(device.token, "Content-Length: " + std::to_string(body.size()) + "\r\nExpect: 100-continue");
    EXPECT_THAT(first->until("\r\n\r\n"), StartsWith("HTTP/1.1 100 "));
    const auto second = connect();
    second->say(posted(device.token, save));
    EXPECT_THAT(second->answer(), testing::AllOf(StartsWith("HTTP/1.1 503 "), HasSubstr("Retry-After")));
    first->say(body);
    EXPECT_THAT(first->answer(), StartsWith("HTTP/1.1 200 "));
    first->say(posted(device.token, save));
    EXPECT_THAT(first->answer(), StartsWith("HTTP/1.1 200 ")) << "the room was given back";
}

TEST(HttpRules, TellStrangersApartByWhatTheyCannotChooseFreely) {
    for (const auto& [address, stranger] : {std::pair("192.0.2.7", "192.0.2.7"),
                                            {"::ffff:192.0.2.7", "192.0.2.7"},
                                            {"2001:db8:1:2:3:4:5:6", "2001:db8:1:2::/64"},
                                            {"2001:db8:1:2::1", "2001:db8:1:2::/64"},
                                            {"no address", "no address"}})
        EXPECT_EQ(strangerOf(address), stranger);
}

TEST_F(Http, CarriesPushesAsEventsThatCanBeResumed) {
    HttpOptions options;
    options.heartbeatInterval = std::chrono::seconds(1);
    start(options);
    const TestDevice writer(world, "anna"), reader(world, "anna");
    writer.makeZone();
    (void)writer.ask<SavedSubscription>(
        SaveSubscription{DatabaseScope::Private, {{}, CKSubscriptionData::Kind::Query, "Reminder", 7, {}, true}});
    const auto open = [&](const std::string& token, const std::string& more) {
        auto client = connect();
        client->say("GET /v1/push HTTP/1.1\r\nHost: x\r\nAuthorization: Bearer " + token + "\r\n" + more + "\r\n");
        return client;
    };
    EXPECT_THAT(open("nobody", "")->rest(), StartsWith("HTTP/1.1 401 "));
    auto client = open(reader.token, "");
    EXPECT_THAT(client->until("\r\n\r\n"), HasSubstr("text/event-stream"));
    EXPECT_EQ(client->until("\n\n"), "event: opened\nid: 0\ndata: {\"gap\":false}\n\n");
    (void)writer.save({makeRecord("a", "1")});
    EXPECT_THAT(client->until("\n\n"),
                testing::AllOf(StartsWith("event: push\nid: 1\n"), HasSubstr("\"recordName\":\"a\"")));
    EXPECT_EQ(client->until("\n\n"), ":\n\n") << "a sign of life";
    client.reset();
    (void)writer.save({makeRecord("b", "1")});
    client = open(reader.token, "Last-Event-ID: 1\r\n");
    (void)client->until("\r\n\r\n");
    EXPECT_THAT(client->until("\n\n"), HasSubstr("id: 1\n"));
    EXPECT_THAT(client->until("\n\n"), HasSubstr("id: 2\n"));
    EXPECT_EQ(writer.codeOf(RevokeDevice{reader.deviceID}), 0);
    (void)client->rest();
}

TEST_F(Http, FinishesWhatItAcceptedWhenItStops) {
    const TestDevice device(world, "anna");
    device.makeZone();
    const auto idle = connect(), stream = connect(), busy = connect();
    stream->say("GET /v1/push HTTP/1.1\r\nAuthorization: Bearer " + device.token + "\r\n\r\n");
    (void)stream->until("\n\n");
    auto& storage = static_cast<HeldStorage&>(*world.storage);
    storage.hold();
    busy->say(
        posted(device.token, ModifyRecords{DatabaseScope::Private, SavePolicy::AllKeys, {makeRecord("r", "x")}, {}}));
    storage.waitForWrite();
    auto stopping = std::async(std::launch::async, [&] { front->stop(); });
    (void)idle->rest();
    (void)stream->rest();
    storage.letGo();
    const auto answer = busy->answer();
    EXPECT_THAT(answer, StartsWith("HTTP/1.1 200 "));
    EXPECT_THAT(answer, HasSubstr("\"recordChangeTag\""));
    stopping.get();
    boost::system::error_code error;
    Client<tcp::socket> late(io);
    late.stream.connect({asio::ip::address_v4::loopback(), front->port()}, error);
    EXPECT_TRUE(error);
}

TEST_F(Http, LetsNobodyWaitForSomebodysPassword) {
    const TestDevice device(world, "anna");
    std::counting_semaphore<> begun(0);
    std::promise<void> letGo;
    SideThreads aside(world.options.limits.passwordsAtOnce);
    world.options.aside = [&, isFree = letGo.get_future().share()](auto work) {
        aside.add([isFree, work = std::move(work)] {
            isFree.wait();
            work();
        });
        begun.release();
    };
    HttpOptions options;
    options.threads = 1;
    start(options);
    const auto right = connect(), wrong = connect(), quick = connect();
    right->say(posted("", SignIn{"anna", "password of anna", "second"}));
    wrong->say(posted(device.token, ChangePassword{"somebody else's", "a new password"}));
    begun.acquire();
    begun.acquire();
    quick->say(posted(device.token, FetchAccount{}) + posted("", SignIn{"anna", "password of anna", "third"}));
    EXPECT_THAT(quick->answer(), HasSubstr(device.accountID));
    EXPECT_THAT(quick->answer(), HasSubstr("\"code\":7")) << "two at once are enough";
    letGo.set_value();
    EXPECT_THAT(right->answer(), HasSubstr("\"deviceToken\""));
    EXPECT_THAT(wrong->answer(), HasSubstr("\"code\":9"));
    quick->say(posted("", SignIn{"anna", "password of anna", "third"}));
    EXPECT_THAT(quick->answer(), HasSubstr("\"deviceToken\"")) << "the turns were given back";
    front.reset();
}

TEST_F(Http, TellsItsHealthAndItsNumbersElsewhere) {
    const TestDevice device(world, "anna");
    HttpOptions options;
    options.logRequests = true;
    start(options);
    connect()->say(posted(device.token, FetchAccount{}));
    const auto client = connect(front->healthPort());
    client->say("GET /healthz HTTP/1.1\r\n\r\n");
    EXPECT_THAT(client->answer(), testing::EndsWith("ok\n"));
    client->say("GET /metrics HTTP/1.1\r\n\r\n");
    EXPECT_THAT(client->answer(), HasSubstr("zun_cloud_requests_total "));
    client->say(posted(device.token, FetchAccount{}));
    EXPECT_THAT(client->answer(), StartsWith("HTTP/1.1 405 "));
    const auto sameConnection = connect();
    sameConnection->say(posted("", SignIn{"anna", "password of anna", "x"}));
    (void)sameConnection->answer();
    front->stop();
    EXPECT_THAT(log, HasSubstr("path=account/sign-in status=200"));
    EXPECT_THAT(log, testing::Not(HasSubstr("password of anna")));
    EXPECT_THAT(log, testing::Not(HasSubstr(device.token)));
}

// A key and a certificate that it signed itself.
void writeCertificate(const std::string& certificateFile, const std::string& keyFile) {
    const std::unique_ptr<EVP_PKEY, void (*)(EVP_PKEY*)> key(EVP_EC_gen("P-256"), EVP_PKEY_free);
    const std::unique_ptr<X509, void (*)(X509*)> certificate(X509_new(), X509_free);
    X509_gmtime_adj(X509_getm_notBefore(certificate.get()), 0);
    X509_gmtime_adj(X509_getm_notAfter(certificate.get()), 3'600);
    X509_set_pubkey(certificate.get(), key.get());
    auto* name = X509_get_subject_name(certificate.get());
    X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC, reinterpret_cast<const unsigned char*>("localhost"), -1, -1,
                               0);
    X509_set_issuer_name(certificate.get(), name);
    X509_sign(certificate.get(), key.get(), EVP_sha256());
    const std::unique_ptr<FILE, int (*)(FILE*)> certificateTo(std::fopen(certificateFile.c_str(), "w"), std::fclose);
    const std::unique_ptr<FILE, int (*)(FILE*)> keyTo(std::fopen(keyFile.c_str(), "w"), std::fclose);
    PEM_write_X509(certificateTo.get(), certificate.get());
    PEM_write_PrivateKey(keyTo.get(), key.get(), nullptr, nullptr, 0, nullptr, nullptr);
}

TEST_F(Http, SpeaksTlsAndLocalSockets) {
    const TestDevice device(world, "anna");
    const TemporaryFolder folder;
    HttpOptions options;
    options.certificateFile = folder.path() / "cert.pem";
    options.keyFile = folder.path() / "key.pem";
    writeCertificate(options.certificateFile, options.keyFile);
    start(options);
    asio::ssl::context context(asio::ssl::context::tls_client);
    Client<asio::ssl::stream<tcp::socket>> secure(io, context);
    secure.stream.next_layer().connect({asio::ip::address_v4::loopback(), front->port()});
    secure.stream.handshake(asio::ssl::stream_base::client);
    secure.say(posted(device.token, FetchAccount{}));
    EXPECT_THAT(secure.answer(), HasSubstr(device.accountID));
    const auto plain = connect();
    plain->say(posted(device.token, FetchAccount{}));
    EXPECT_THAT(plain->rest(), testing::Not(HasSubstr("HTTP/1.1 200")));

    HttpOptions local;
    local.listen = "unix:" + std::filesystem::relative(folder.path() / "s").string();
    start(local);
    Client<asio::local::stream_protocol::socket> near(io);
    near.stream.connect(asio::local::stream_protocol::endpoint(local.listen.substr(5)));
    near.say(posted(device.token, FetchAccount{}));
    EXPECT_THAT(near.answer(), HasSubstr(device.accountID));
}

TEST_F(Http, DoesNotServeOtherMachinesInPlainTextByMistake) {
    HttpOptions options;
    options.listen = "0.0.0.0:0";
    const auto make = [&] { HttpFront(*world.service, *world.storage, options, [](std::string_view) {}); };
    EXPECT_THROW(make(), std::runtime_error);
    options.allowPlain = true;
    EXPECT_NO_THROW(make());
    options.certificateFile = options.keyFile = "no such file";
    EXPECT_THROW(make(), std::runtime_error);
}

}  // namespace
}  // namespace zun::cloud
