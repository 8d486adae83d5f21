#include "Sha256.h"

#include <array>
#include <cstdio>
#include <fstream>
#include <vector>

#include <openssl/evp.h>

#include "Failure.h"

namespace rix::cli {

struct Sha256::Context {
    std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> digest{EVP_MD_CTX_new(), &EVP_MD_CTX_free};
};

Sha256::Sha256()
    : m_context(std::make_unique<Context>()),
      m_works(m_context->digest != nullptr && EVP_DigestInit_ex(m_context->digest.get(), EVP_sha256(), nullptr) == 1) {}

Sha256::~Sha256() = default;

void Sha256::add(std::string_view bytes) {
    m_works = m_works && EVP_DigestUpdate(m_context->digest.get(), bytes.data(), bytes.size()) == 1;
}

std::string Sha256::hex() {
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned int length = 0;
    if (!m_works || EVP_DigestFinal_ex(m_context->digest.get(), digest.data(), &length) != 1) {
        throw Failure(RUN_FAILED, "a hash can't be computed");
    }
    std::string text;
    for (unsigned int i = 0; i < length; ++i) {
        std::array<char, 3> digits{};
        std::snprintf(digits.data(), digits.size(), "%02x", digest[i]);
        text += digits.data();
    }
    return text;
}

std::string sha256Of(std::string_view bytes) {
    Sha256 sum;
    sum.add(bytes);
    return sum.hex();
}

std::optional<FileSum> sumOfFile(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        return std::nullopt;
    }
    Sha256 sum;
    FileSum result;
    std::vector<char> buffer(std::size_t{1} << 16);
    while (file.read(buffer.data(), static_cast<std::streamsize>(buffer.size())), file.gcount() > 0) {
        const auto count = static_cast<std::size_t>(file.gcount());
        sum.add({buffer.data(), count});
        result.bytes += count;
    }
    if (!file.eof()) {
        return std::nullopt;
    }
    result.sha256 = sum.hex();
    return result;
}

}  // namespace rix::cli
