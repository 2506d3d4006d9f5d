#pragma once

// Who has the store open, and a mark in the session's file by which a later opening knows whether to check the store:
//
//   sound    the last writer came to its end
//   writing  somebody writes; found by one who is alone, it means that the writer did not come to its end
//   suspect  the same, or something made no sense; stays until somebody has checked the file, whoever comes and goes
//
// Held from the opening of a store to its end; any thread, one at a time.

#include <filesystem>

namespace zun {

class StoreSession {
  public:
    // Joins. Throws StoreFailure (Busy) if another process keeps it for itself for too long, std::system_error if the
    // file cannot be made.
    explicit StoreSession(const std::filesystem::path& file);
    // The last one to leave takes a writer's mark away.
    ~StoreSession();
    StoreSession(const StoreSession&) = delete;
    StoreSession& operator=(const StoreSession&) = delete;

    // True if nobody had the store open and the file has to be checked.
    [[nodiscard]] bool wasLeftUncleanly() const { return _leftUncleanly; }
    // True while no other process, and no other store of this one, has it open; keeps others out until shareAgain().
    [[nodiscard]] bool keepForMyself();
    void shareAgain();
    // Called before the first write; durable on return.
    void markWriting();
    // The file was looked at and is sound.
    void markSound();
    // Something in the file made no sense: the next opening that is alone checks it. Any thread.
    void markSuspect();

  private:
    [[nodiscard]] char readMark() const;
    void writeMark(char mark) const;

    int _descriptor;
    bool _leftUncleanly = false;
};

}  // namespace zun
