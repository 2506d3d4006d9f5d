#pragma once

// What the program's commands do once the command line is understood. Each blocks until it is done and returns the exit
// status. Throws RequestRefused, StorageFailure and std::runtime_error for what is to be told and ends with status 1.

#include <chrono>
#include <string>

#include "server/http/HttpFront.h"
#include "server/program/Places.h"

namespace zun::cloud {

struct ServeOptions {
    Place place;
    HttpOptions http;
    ServiceOptions service;
};
// Until SIGTERM or SIGINT.
int serve(const ServeOptions& options);

struct AccountOptions {
    std::string name, displayName, emailAddress;
    bool passwordFromInput = false;
    bool isEnabledAgain = false;
};
int addAccount(const Place& place, const AccountOptions& options);
int listAccounts(const Place& place, bool asJSON);
int disableAccount(const Place& place, const AccountOptions& options);
int changePassword(const Place& place, const AccountOptions& options);

int invite(const Place& place, int days);
// The file may be an earlier backup; anything else that is there is refused.
int backup(const Place& place, const std::string& file);
// The folder may be new. Nothing is made or changed unless the file is a sound backup.
int restore(const Place& place, const std::string& file, bool isSure);
int check(const Place& place);
int showStatistics(const Place& place, bool asJSON);

}  // namespace zun::cloud
