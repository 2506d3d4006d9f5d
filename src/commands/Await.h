#pragma once

// For commands, which have nothing to do until what they have started has answered.

#include <atomic>
#include <functional>
#include <memory>
#include <utility>

#include "commands/CloudCommands.h"

namespace zun {

// Starts what answers once, on any thread, and waits for the answer.
template <class Answer>
Answer await(CloudAccess& cloud, const std::function<void(std::function<void(Answer)>)>& start) {
    struct Mailbox {
        std::atomic<bool> isThere = false;
        Answer answer;
    };
    const auto mailbox = std::make_shared<Mailbox>();
    start([mailbox, &dispatch = cloud.dispatch](Answer answer) {
        mailbox->answer = std::move(answer);
        mailbox->isThere = true;
        dispatch.notify();
    });
    cloud.dispatch.waitUntil([mailbox] { return mailbox->isThere.load(); });
    return mailbox->answer;
}

}  // namespace zun
