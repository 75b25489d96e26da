// Makes the release key and signs packages for the update feed:
//   torvel-sign-update keygen SECRET_FILE     writes a new secret key, prints the public key for the build
//   torvel-sign-update sign SECRET_FILE DEB   prints the enclosure's length and edSignature attributes
// The app refuses any package whose length or signature does not match these.
#include <sodium.h>
#include <sys/stat.h>

#include <array>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

#include "extras/appcast.h"

namespace {

std::string base64(const unsigned char* bytes, std::size_t size) {
    std::string text(sodium_base64_ENCODED_LEN(size, sodium_base64_VARIANT_ORIGINAL), '\0');
    sodium_bin2base64(text.data(), text.size(), bytes, size, sodium_base64_VARIANT_ORIGINAL);
    text.resize(text.find('\0'));
    return text;
}

std::optional<std::vector<unsigned char>> readFile(const char* path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) return std::nullopt;
    return std::vector<unsigned char>(std::istreambuf_iterator<char>(file), {});
}

int keygen(const char* secretPath) {
    std::array<unsigned char, crypto_sign_PUBLICKEYBYTES> publicKey{};
    std::array<unsigned char, crypto_sign_SECRETKEYBYTES> secretKey{};
    crypto_sign_keypair(publicKey.data(), secretKey.data());
    // Owner-only from the first byte written; never over an existing key.
    const mode_t previous = umask(077);
    std::FILE* file = std::fopen(secretPath, "wx");
    umask(previous);
    if (!file) {
        std::perror(secretPath);
        return 1;
    }
    const std::string secret = base64(secretKey.data(), secretKey.size()) + "\n";
    const bool written = std::fputs(secret.c_str(), file) >= 0;
    if (std::fclose(file) != 0 || !written) {
        std::perror(secretPath);
        return 1;
    }
    sodium_memzero(secretKey.data(), secretKey.size());
    std::cout << "-DTORVEL_UPDATE_PUBLIC_KEY=" << base64(publicKey.data(), publicKey.size()) << "\n";
    return 0;
}

int sign(const char* secretPath, const char* packagePath) {
    const auto secretText = readFile(secretPath);
    std::vector<unsigned char> secretKey(crypto_sign_SECRETKEYBYTES);
    std::size_t length = 0;
    if (!secretText ||
        sodium_base642bin(secretKey.data(), secretKey.size(),
                          reinterpret_cast<const char*>(secretText->data()), secretText->size(), " \r\n",
                          &length, nullptr, sodium_base64_VARIANT_ORIGINAL) != 0 ||
        length != crypto_sign_SECRETKEYBYTES) {
        std::cerr << secretPath << ": not a secret key made by keygen\n";
        return 1;
    }
    const auto package = readFile(packagePath);
    if (!package) {
        std::cerr << packagePath << ": cannot read\n";
        return 1;
    }
    std::array<unsigned char, crypto_sign_BYTES> signature{};
    crypto_sign_detached(signature.data(), nullptr, package->data(), package->size(), secretKey.data());

    // Checked the way the app checks it, so a key file and a build that disagree show up here.
    std::array<unsigned char, crypto_sign_PUBLICKEYBYTES> publicKey{};
    crypto_sign_ed25519_sk_to_pk(publicKey.data(), secretKey.data());
    sodium_memzero(secretKey.data(), secretKey.size());
    const std::string signatureText = base64(signature.data(), signature.size());
    if (torvel::UpdateVerification::verify(*package, package->size(), signatureText,
                                           {publicKey.begin(), publicKey.end()})) {
        std::cerr << packagePath << ": the signature does not verify\n";
        return 1;
    }
    std::cout << "length=\"" << package->size() << "\" edSignature=\"" << signatureText << "\"\n";
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (sodium_init() < 0) {
        std::cerr << "torvel-sign-update: libsodium cannot start\n";
        return 1;
    }
    const std::string command = argc > 1 ? argv[1] : "";
    if (command == "keygen" && argc == 3) return keygen(argv[2]);
    if (command == "sign" && argc == 4) return sign(argv[2], argv[3]);
    std::cerr << "usage: torvel-sign-update keygen SECRET_FILE\n"
                 "       torvel-sign-update sign SECRET_FILE PACKAGE.deb\n";
    return 2;
}
