#pragma once

// Who has the store open. A mark in the session's file tells a later opening that the last writer did not come to its
// end, which is when the file is worth checking. Held from the opening of a store to its end; any thread, one at a
// time.

#include <atomic>
#include <filesystem>

namespace zun {

class StoreSession {
  public:
    // Joins. Throws StoreFailure (Busy) if another process keeps it for itself for too long, std::system_error if the
    // file cannot be made.
    explicit StoreSession(const std::filesystem::path& file);
    // The last one to leave takes the mark away.
    ~StoreSession();
    StoreSession(const StoreSession&) = delete;
    StoreSession& operator=(const StoreSession&) = delete;

    // True if nobody had the store open and the last writer left without taking its mark away.
    [[nodiscard]] bool wasLeftUncleanly() const { return _leftUncleanly; }
    // True while no other process, and no other store of this one, has it open; keeps others out until shareAgain().
    [[nodiscard]] bool keepForMyself();
    void shareAgain();
    // Called before the first write; durable on return.
    void markWriting();
    // The file was looked at and is sound.
    void markSound();
    // Something in the file made no sense: the mark stays, so that the next opening checks it. Any thread.
    void markSuspect();

  private:
    [[nodiscard]] char readMark() const;
    void writeMark(char mark) const;

    int _descriptor;
    bool _leftUncleanly = false;
    std::atomic<bool> _suspect = false;
};

}  // namespace zun
