#include <gtest/gtest.h>

#include "core/error_text.h"
#include "fakes/failing_allocations.h"
#include "media-server/media_server.h"

namespace media_server {
namespace {

using fakes::allocations_left;

TEST(MediaServerOutOfMemoryTest, RefusesAKeyThatFindsNoRoom) {
  const fakes::AllocationsSucceedAgain succeed_again;
  const auto server = MakeMediaServer({});
  const auto key = core::ValAny::FromBuffer("00112233445566778899aabbccddeeff");
  std::int32_t status = platform::kOk;
  allocations_left = 0;
  EXPECT_NO_THROW(status = server->SetOption(kEncryptKeyOption, &key));
  allocations_left = -1;
  EXPECT_EQ(status, platform::kOutOfMemory);
  EXPECT_STREQ(CoreErrorText(), "out of memory");
  EXPECT_EQ(server->SetOption(kEncryptKeyOption, &key), platform::kOk);
}

}  // namespace
}  // namespace media_server
