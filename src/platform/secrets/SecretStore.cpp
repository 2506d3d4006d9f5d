#include "platform/secrets/SecretStore.h"

#include <fstream>
#include <sstream>

#include "platform/foundation/DurableFile.h"
#include "platform/foundation/Log.h"
#include "platform/secrets/SecretServiceStore.h"

namespace zun {
namespace {

constexpr mode_t ownersOnly = 0600;

// One file for each key. Keys are made by us and are fit for file names.
class SecretFiles {
  public:
    explicit SecretFiles(std::filesystem::path folder) : _folder(std::move(folder)) {}

    [[nodiscard]] std::optional<std::string> find(const std::string& key) const {
        std::ifstream file(fileOf(key), std::ios::binary);
        if (!file) return std::nullopt;
        std::ostringstream text;
        text << file.rdbuf();
        return text.str();
    }
    [[nodiscard]] bool save(const std::string& key, const std::string& text) const {
        std::error_code error;
        std::filesystem::create_directories(_folder, error);
        if (!error) error = replaceFileDurably(fileOf(key), text, ownersOnly);
        if (error) NSLog("A sign-in could not be kept: " + error.message());
        return !error;
    }
    void remove(const std::string& key) const {
        std::error_code none;
        std::filesystem::remove(fileOf(key), none);
    }

  private:
    [[nodiscard]] std::filesystem::path fileOf(const std::string& key) const { return _folder / (key + ".secret"); }

    std::filesystem::path _folder;
};

class ServiceOrFile final : public SecretStore {
  public:
    explicit ServiceOrFile(std::filesystem::path folder) : _files(std::move(folder)) {}

    std::optional<Secret> find(const std::string& key) override {
        if (auto text = _files.find(key)) return Secret{std::move(*text), SecretPlace::File};
        if (auto text = _service.find(key)) return Secret{std::move(*text), SecretPlace::SecretService};
        return std::nullopt;
    }

    SavedSecret save(const std::string& key, const std::string& text, const std::string& label) override {
        if (_service.save(key, text, label)) {
            _files.remove(key);
            return SecretPlace::SecretService;
        }
        if (_service.wasWithdrawn()) return SecretRefusal::Withdrawn;
        if (_files.save(key, text)) return SecretPlace::File;
        return SecretRefusal::CannotKeep;
    }

    void remove(const std::string& key) override {
        _files.remove(key);
        _service.remove(key);
    }

    void setQuestionBlock(std::function<void(KeyringQuestion)> block) override {
        _service.setQuestionBlock(std::move(block));
    }
    void withdraw() override { _service.withdraw(); }

  private:
    SecretServiceStore _service;
    SecretFiles _files;
};

}  // namespace

std::unique_ptr<SecretStore> makeSecretStore(std::filesystem::path folder) {
    return std::make_unique<ServiceOrFile>(std::move(folder));
}

}  // namespace zun
