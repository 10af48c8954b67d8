#include "media-server/digest/digest_library.h"

#include <openssl/evp.h>

#include <memory>
#include <new>
#include <utility>

#include "platform/export.h"

namespace media_server {
namespace {

struct ContextDeleter {
  void operator()(EVP_MD_CTX* context) const { EVP_MD_CTX_free(context); }
};
using Context = std::unique_ptr<EVP_MD_CTX, ContextDeleter>;

class Md5 final : public IMd5 {
 public:
  explicit Md5(Context context) : context_(std::move(context)) {}

  bool Update(std::span<const std::uint8_t> bytes) override {
    return EVP_DigestUpdate(context_.get(), bytes.data(), bytes.size()) == 1;
  }
  bool Finish(std::array<std::uint8_t, 16>* digest) override {
    return EVP_DigestFinal_ex(context_.get(), digest->data(), nullptr) == 1;
  }

 private:
  Context context_;
};

}  // namespace
}  // namespace media_server

extern "C" PLATFORM_EXPORT media_server::IMd5* MakeMediaServerMd5() {
  // It tells content apart and protects nothing: allowed where a policy forbids MD5 for security.
  static EVP_MD* const md5 = EVP_MD_fetch(nullptr, "MD5", "-fips");
  media_server::Context context(EVP_MD_CTX_new());
  if (!md5 || !context || EVP_DigestInit_ex(context.get(), md5, nullptr) != 1) return nullptr;
  return new (std::nothrow) media_server::Md5(std::move(context));
}
