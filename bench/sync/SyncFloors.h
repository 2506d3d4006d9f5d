#pragma once

// The floors of the sync: the same work by a program that knows one account, one zone and one table, asks one thing
// after the other over one connection, and decides nothing. Milliseconds.

#include <cstddef>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "cloud/LoopbackClient.h"
#include "platform/cloudprotocol/CKRecord.h"

namespace SQLite {
class Database;
}

namespace zun {

class SyncFloors {
  public:
    // Makes an account of its own. Its files go into the folder.
    SyncFloors(unsigned short port, const std::string& account, const std::filesystem::path& folder);
    ~SyncFloors();

    // Reads all rows of a store, writes them as records and sends them, as many at once as the service takes.
    double sendAll(const std::filesystem::path& store);
    // Fetches all of that page by page and writes it into a table in one commit.
    double receiveAll();
    // Asks whether all of that is still there, and a few small questions.
    double askForAll(std::size_t count, std::size_t smallQuestions);
    // Asks what is new, which is one record, and reads all rows of a store.
    double readAgain(const std::filesystem::path& store);
    // A commit, a request that saves a record, the push of it to another device, which fetches it and commits.
    std::vector<double> pass(int times);

  private:
    void commit(const std::string& name, const std::string& body);

    cloud::LoopbackClient _client, _other, _stream;
    std::unique_ptr<SQLite::Database> _database;
    std::vector<CKRecordID> _recordIDs;
    std::string _lastToken;
};

}  // namespace zun
