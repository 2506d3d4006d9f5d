#pragma once

// A value that a callback gives once, from any thread, and a coroutine waits for. What is there already is taken
// without leaving the coroutine's thread; otherwise the coroutine goes on through its executor.

#include <boost/asio/any_io_executor.hpp>
#include <boost/asio/async_result.hpp>
#include <boost/asio/awaitable.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

namespace zun::cloud {

template <class Value>
class Handover {
  public:
    explicit Handover(boost::asio::any_io_executor executor) : _executor(std::move(executor)) {}

    // Once.
    void give(Value value) {
        std::function<void()> goOn;
        {
            std::lock_guard lock(_mutex);
            _value = std::move(value);
            goOn = std::move(_goOn);
        }
        if (goOn) boost::asio::post(_executor, std::move(goOn));
    }

    // Once. Whoever waits keeps the handover, and so must whoever shall give.
    static boost::asio::awaitable<Value> take(std::shared_ptr<Handover> from) {
        if (!from->isGiven())
            co_await boost::asio::async_initiate<const boost::asio::use_awaitable_t<>&, void()>(
                [&from](auto handler) {
                    from->whenGiven(
                        [waiting = std::make_shared<decltype(handler)>(std::move(handler))] { (*waiting)(); });
                },
                boost::asio::use_awaitable);
        co_return std::move(*from->_value);
    }

  private:
    [[nodiscard]] bool isGiven() {
        std::lock_guard lock(_mutex);
        return _value.has_value();
    }
    void whenGiven(std::function<void()> goOn) {
        {
            std::lock_guard lock(_mutex);
            if (!_value) {
                _goOn = std::move(goOn);
                return;
            }
        }
        boost::asio::post(_executor, std::move(goOn));
    }

    const boost::asio::any_io_executor _executor;
    std::mutex _mutex;
    std::optional<Value> _value;
    std::function<void()> _goOn;
};

}  // namespace zun::cloud
