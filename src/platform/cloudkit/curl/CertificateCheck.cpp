#include "platform/cloudkit/curl/CertificateCheck.h"

#include <openssl/ssl.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include <memory>
#include <thread>

#include "platform/cloudkit/curl/CurlTransfers.h"

namespace zun {
namespace {

constexpr long connectSeconds = 10;

std::string fingerprintOf(X509* certificate) {
    static constexpr std::string_view digits = "0123456789ABCDEF";
    unsigned char hash[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    if (!certificate || X509_digest(certificate, EVP_sha256(), hash, &length) != 1) return {};
    std::string text;
    for (unsigned int i = 0; i < length; ++i) {
        if (i > 0) text += ':';
        text += digits[hash[i] >> 4];
        text += digits[hash[i] & 15u];
    }
    return text;
}

std::string written(const std::function<void(BIO*)>& print) {
    const std::unique_ptr<BIO, decltype(&BIO_free_all)> memory(BIO_new(BIO_s_mem()), &BIO_free_all);
    print(memory.get());
    char* bytes = nullptr;
    const long length = BIO_get_mem_data(memory.get(), &bytes);
    return bytes ? std::string(bytes, static_cast<std::size_t>(length)) : std::string();
}

ServiceCertificate described(X509* certificate) {
    const auto name = [](const X509_NAME* of) {
        return written([of](BIO* to) { X509_NAME_print_ex(to, of, 0, XN_FLAG_ONELINE & ~ASN1_STRFLGS_ESC_MSB); });
    };
    return {fingerprintOf(certificate), name(X509_get_subject_name(certificate)),
            name(X509_get_issuer_name(certificate)),
            written([certificate](BIO* to) { ASN1_TIME_print(to, X509_get0_notAfter(certificate)); }), false};
}

// Without the brackets of an address of the sixth version.
std::string hostOf(const std::string& URL) {
    const std::unique_ptr<CURLU, decltype(&curl_url_cleanup)> parts(curl_url(), &curl_url_cleanup);
    char* text = nullptr;
    if (curl_url_set(parts.get(), CURLUPART_URL, URL.c_str(), 0) != CURLUE_OK ||
        curl_url_get(parts.get(), CURLUPART_HOST, &text, 0) != CURLUE_OK)
        return {};
    std::string host(text);
    curl_free(text);
    if (host.starts_with('[') && host.ends_with(']')) host = host.substr(1, host.size() - 2);
    return host;
}

// In the place of the whole verification of the chain.
int isTheAcceptedOne(X509_STORE_CTX* chain, void* fingerprint) {
    const bool isAccepted =
        fingerprintOf(X509_STORE_CTX_get0_cert(chain)) == *static_cast<const std::string*>(fingerprint);
    X509_STORE_CTX_set_error(chain, isAccepted ? X509_V_OK : X509_V_ERR_CERT_UNTRUSTED);
    return isAccepted ? 1 : 0;
}

struct Look {
    std::string host;
    ServiceCertificate certificate;
};

int onlyLook(X509_STORE_CTX* chain, void* result) {
    auto& look = *static_cast<Look*>(result);
    auto* const shown = X509_STORE_CTX_get0_cert(chain);
    look.certificate = described(shown);
    const bool isForHost = X509_check_host(shown, look.host.c_str(), 0, 0, nullptr) == 1 ||
                           X509_check_ip_asc(shown, look.host.c_str(), 0) == 1;
    look.certificate.isVouchedFor = X509_verify_cert(chain) == 1 && isForHost;
    X509_STORE_CTX_set_error(chain, X509_V_OK);
    return 1;
}

CURLcode lookAtCertificate(CURL*, void* context, void* fingerprint) {
    SSL_CTX_set_cert_verify_callback(static_cast<SSL_CTX*>(context), isTheAcceptedOne, fingerprint);
    return CURLE_OK;
}

CURLcode noteCertificate(CURL*, void* context, void* result) {
    SSL_CTX_set_cert_verify_callback(static_cast<SSL_CTX*>(context), onlyLook, result);
    return CURLE_OK;
}

}  // namespace

void acceptOnlyCertificate(CURL* transfer, const std::string& fingerprint) {
    curl_easy_setopt(transfer, CURLOPT_SSL_VERIFYHOST, 0L);
    // A resumed session would not be looked at again.
    curl_easy_setopt(transfer, CURLOPT_SSL_SESSIONID_CACHE, 0L);
    curl_easy_setopt(transfer, CURLOPT_SSL_CTX_FUNCTION, &lookAtCertificate);
    curl_easy_setopt(transfer, CURLOPT_SSL_CTX_DATA, const_cast<std::string*>(&fingerprint));
}

std::variant<ServiceCertificate, HttpFailure> lookAtServiceCertificate(const std::string& URL) {
    const std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> transfer(curl_easy_init(), &curl_easy_cleanup);
    Look look{hostOf(URL), {}};
    curl_easy_setopt(transfer.get(), CURLOPT_URL, URL.c_str());
    curl_easy_setopt(transfer.get(), CURLOPT_PROTOCOLS_STR, "https");
    curl_easy_setopt(transfer.get(), CURLOPT_CONNECT_ONLY, 1L);
    curl_easy_setopt(transfer.get(), CURLOPT_CONNECTTIMEOUT, connectSeconds);
    curl_easy_setopt(transfer.get(), CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(transfer.get(), CURLOPT_SSL_VERIFYHOST, 0L);
    curl_easy_setopt(transfer.get(), CURLOPT_SSL_SESSIONID_CACHE, 0L);
    curl_easy_setopt(transfer.get(), CURLOPT_SSL_CTX_FUNCTION, &noteCertificate);
    curl_easy_setopt(transfer.get(), CURLOPT_SSL_CTX_DATA, &look);
    auto code = CURLE_OK;
    // On a thread whose signals are its own.
    std::thread([&] {
        blockPipeSignal();
        code = curl_easy_perform(transfer.get());
    }).join();
    if (look.certificate.fingerprint.empty())
        return failureOfTransfer(code == CURLE_OK ? CURLE_SSL_CONNECT_ERROR : code);
    return look.certificate;
}

}  // namespace zun
