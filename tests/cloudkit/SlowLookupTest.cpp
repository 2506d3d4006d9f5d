#include <dlfcn.h>
#include <gtest/gtest.h>
#include <netdb.h>

#include <future>
#include <string_view>

#include "platform/cloudkit/HttpModule.h"

namespace zun {
namespace {

constexpr const char* slowHost = "slow.example";

struct Lookup {
    std::promise<void> begun, mayEnd, ended;
};
Lookup* lookup = nullptr;

TEST(HttpTransfers, EndsWhileANameIsStillBeingLookedUp) {
    static Lookup slow;  // outlives the thread that looks up
    lookup = &slow;
    const auto transfers = httpModule().makeTransfers();
    std::promise<std::optional<HttpFailure>> failure;
    HttpRequest request;
    request.URL = std::string("http://") + slowHost;
    transfers->start(request, [&failure](const HttpResponse& response) { failure.set_value(response.failure); });
    slow.begun.get_future().wait();
    auto stopped = std::async(std::launch::async, [&transfers] { transfers->stop(); });
    // The limit counts only where it hangs.
    EXPECT_EQ(stopped.wait_for(std::chrono::seconds(10)), std::future_status::ready);
    slow.mayEnd.set_value();
    const auto ended = failure.get_future().get();
    ASSERT_TRUE(ended);
    EXPECT_EQ(ended->kind, HttpFailure::Kind::BrokenOff);
    slow.ended.get_future().wait();
}

}  // namespace
}  // namespace zun

// Stands before the system's, as the program's own functions do.
extern "C" int getaddrinfo(const char* name, const char* service, const addrinfo* hints, addrinfo** result) {
    if (name && std::string_view(name) == zun::slowHost) {
        auto& slow = *zun::lookup;
        slow.begun.set_value();
        slow.mayEnd.get_future().wait();
        slow.ended.set_value();
        return EAI_NONAME;
    }
    static const auto systems = reinterpret_cast<decltype(&getaddrinfo)>(::dlsym(RTLD_NEXT, "getaddrinfo"));
    return systems(name, service, hints, result);
}
