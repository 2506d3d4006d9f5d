#include <dlfcn.h>
#include <gtest/gtest.h>
#include <netdb.h>

#include <future>
#include <string_view>

#include "platform/cloudkit/HttpThread.h"

namespace zun {
namespace {

constexpr const char* slowHost = "slow.example";

struct Lookup {
    std::promise<void> begun, mayEnd, ended;
};
Lookup* lookup = nullptr;

TEST(HttpThread, EndsWhileANameIsStillBeingLookedUp) {
    static Lookup slow;  // outlives the thread that looks up
    lookup = &slow;
    const auto thread = std::make_shared<HttpThread>();
    std::promise<CURLcode> code;
    HttpRequest request;
    request.URL = std::string("http://") + slowHost;
    thread->start(request, [&code](const HttpResponse& response) { code.set_value(response.code); });
    slow.begun.get_future().wait();
    auto stopped = std::async(std::launch::async, [&thread] { thread->stop(); });
    // The limit counts only where it hangs.
    EXPECT_EQ(stopped.wait_for(std::chrono::seconds(10)), std::future_status::ready);
    slow.mayEnd.set_value();
    EXPECT_EQ(code.get_future().get(), CURLE_ABORTED_BY_CALLBACK);
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
