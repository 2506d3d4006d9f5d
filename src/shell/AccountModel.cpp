#include "shell/AccountModel.h"

#include "platform/foundation/DurableFile.h"

namespace zun {

AccountModel::AccountModel(Collaborators collaborators)
    : _with(std::move(collaborators)),
      _queue(_with.dispatch.makeSerialQueue("account", QualityOfService::UserInitiated)),
      _blocks(_with.dispatch) {
    const auto onMainQueue = [this](void (AccountModel::*method)()) {
        return [main = _with.dispatch.main(), life = std::weak_ptr(_life), this, method] {
            main->async([life, this, method] {
                if (life.lock()) (this->*method)();
            });
        };
    };
    _observations.push_back(_with.keeper.observeSession(onMainQueue(&AccountModel::accountChanged)));
    _observations.push_back(_with.keeper.observeKeyring(onMainQueue(&AccountModel::changed)));
    _observations.push_back(_with.sync.observeIsSyncing(onMainQueue(&AccountModel::readSyncReport)));
    if (const auto state = account(); state.account) _accountID = state.account->accountID;
}

AccountModel::~AccountModel() {
    _observations.clear();
    _blocks.wait();
}

bool AccountModel::isSignedIn() const {
    const auto state = account();
    return state.account && state.secretPlace;
}

bool AccountModel::needsSecret() const {
    const auto state = account();
    return state.account && !state.secretPlace;
}

void AccountModel::accountChanged() {
    const auto state = account();
    const auto accountID = state.account ? state.account->accountID : std::string();
    if (accountID != _accountID) {
        _accountID = accountID;
        _report = {};
        _devices.reset();
        _devicesProblem.clear();
        _refusedFingerprint.clear();
    }
    changed();
}

// ---- what is under way

void AccountModel::begin(AccountWork work) {
    _work = work;
    _notice.reset();
    changed();
}

void AccountModel::end(std::optional<Notice> notice) {
    _work = AccountWork::None;
    _notice = std::move(notice);
    changed();
}

void AccountModel::endWith(const OptionalError& error, std::string_view goodKey) {
    if (error) return end(Notice{Notice::Tone::Bad, accountErrorText(*error, _work, _with.strings)});
    if (goodKey.empty()) return end(std::nullopt);
    end(Notice{Notice::Tone::Good, _with.strings.string(goodKey)});
}

void AccountModel::complain(std::string_view key) {
    end(Notice{Notice::Tone::Bad, _with.strings.string(key)});
}

void AccountModel::forgetNotice() {
    if (!std::exchange(_notice, std::nullopt)) return;
    changed();
}

void AccountModel::ask(std::function<void(AccountClient&, Done)> question, Done then) {
    _blocks.async(*_queue, [&client = _with.client, question = std::move(question),
                            done = onMain<OptionalError>(std::move(then))] { question(client, done); });
}

// ---- the account

void AccountModel::signOut() {
    if (isBusy()) return;
    begin(AccountWork::SigningOut);
    ask([](AccountClient& client, Done done) { client.signOut(std::move(done)); },
        [this](const OptionalError& error) {
            // Here it is done either way.
            if (error) return complain("Account_Signed_Out_Here_Only");
            endWith(std::nullopt, "Account_Signed_Out_Notice");
        });
}

void AccountModel::changePassword(const std::string& oldPassword, const std::string& newPassword,
                                  const std::string& repeated) {
    if (isBusy()) return;
    if (oldPassword.empty()) return complain("Account_Error_No_Password");
    if (newPassword.size() < shortestPassword) return complain("Account_Error_Password_Rules");
    if (newPassword != repeated) return complain("Account_Error_Passwords_Differ");
    begin(AccountWork::ChangingPassword);
    ask([=](AccountClient& client, Done done) { client.changePassword(oldPassword, newPassword, std::move(done)); },
        [this](const OptionalError& error) { endWith(error, "Account_Password_Changed_Notice"); });
}

void AccountModel::deleteAccount(const std::string& password) {
    if (isBusy()) return;
    if (password.empty()) return complain("Account_Error_No_Password");
    begin(AccountWork::DeletingAccount);
    ask([=](AccountClient& client, Done done) { client.deleteAccount(password, std::move(done)); },
        [this](const OptionalError& error) { endWith(error, "Account_Deleted_Notice"); });
}

void AccountModel::exportTo(const std::string& file) {
    if (isBusy()) return;
    begin(AccountWork::Exporting);
    using Lines = std::vector<std::string>;
    auto done = onMain<Lines, OptionalError>([this, file](const Lines& lines, const OptionalError& error) {
        if (error) return endWith(error, {});
        writeExport(file, lines);
    });
    _blocks.async(*_queue, [&client = _with.client, done = std::move(done)] { client.exportRecords(done); });
}

void AccountModel::writeExport(const std::string& file, const std::vector<std::string>& lines) {
    using Failure = std::string;
    auto done = onMain<Failure>([this, file, count = lines.size()](const Failure& failure) {
        const auto& strings = _with.strings;
        if (failure.empty())
            return end(Notice{Notice::Tone::Good, stringWithFormat(strings.string("Account_Exported_Notice"),
                                                                   {std::to_string(count), file})});
        end(Notice{Notice::Tone::Bad, stringWithFormat(strings.string("Account_Error_Cannot_Write"), {file, failure})});
    });
    _blocks.async(*_queue, [file, lines, done = std::move(done)] {
        std::string text;
        for (const auto& line : lines)
            text += line + "\n";
        const auto error = replaceFileDurably(file, text, 0600);
        done(error ? error.message() : std::string());
    });
}

// ---- devices, sync and kept versions

void AccountModel::readDevices() {
    if (!isSignedIn()) return;
    using List = std::vector<cloud::Device>;
    auto done = onMain<List, OptionalError>([this](const List& devices, const OptionalError& error) {
        // A list from before is better than none.
        if (!error) _devices = devices;
        _devicesProblem = error ? accountErrorText(*error, AccountWork::ReadingDevices, _with.strings) : "";
        changed();
    });
    _blocks.async(*_queue, [&client = _with.client, done = std::move(done)] { client.fetchDevices(done); });
}

void AccountModel::signOutDevice(const std::string& deviceID) {
    if (isBusy()) return;
    if (const auto state = account(); state.account && state.account->deviceID == deviceID) return signOut();
    begin(AccountWork::SigningOutDevice);
    ask([=](AccountClient& client, Done done) { client.revokeDevice(deviceID, std::move(done)); },
        [this](OptionalError error) {
            // Somebody else was quicker.
            if (error && error->code == CKErrorCode::UnknownItem) error.reset();
            endWith(error, "Account_Device_Signed_Out_Notice");
            readDevices();
        });
}

void AccountModel::readSyncReport() {
    auto done = onMain<AccountSyncReport>([this](const AccountSyncReport& report) {
        _report = report;
        changed();
        lookWhetherCertificateChanged();
    });
    _blocks.async(*_queue, [read = _with.syncReport, done = std::move(done)] { done(read()); });
    changed();
}

std::string AccountModel::syncProblem() const {
    const auto& strings = _with.strings;
    switch (_report.lastEnding) {
        case AccountSyncReport::Ending::Done:
            return {};
        case AccountSyncReport::Ending::TimedOut:
            return strings.string("Account_Sync_Timed_Out");
        case AccountSyncReport::Ending::Unreachable:
            return strings.string("Account_Error_Unreachable");
        case AccountSyncReport::Ending::Failed:
            break;
    }
    return _report.lastError ? accountErrorText(*_report.lastError, AccountWork::Syncing, strings)
                             : strings.string("Account_Sync_Failed");
}

void AccountModel::readKeptVersions() {
    using List = std::vector<KeptVersion>;
    auto done = onMain<List>([this](const List& versions) {
        _versions = versions;
        changed();
    });
    _blocks.async(*_queue, [read = _with.keptVersions, done = std::move(done)] {
        auto versions = read();
        std::erase_if(versions, [](const KeptVersion& each) { return each.reason == KeptReason::Unsent; });
        done(versions);
    });
}

void AccountModel::bringBack(const KeptVersion& version) {
    if (!_broughtBack.insert(version.number).second) return;
    changed();
    _blocks.async(*_queue, [bringBack = _with.bringBack, version] { bringBack(version); });
}

}  // namespace zun
