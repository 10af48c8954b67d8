#include <array>

#include "fakes/image_service.h"

namespace {

using service::IService;
using service::ISession;

/// By index of the service: what DestroySession answers for its own sessions, and for those of others.
struct Answers {
  std::uint32_t own;
  std::uint32_t foreign;
};

constexpr std::array<Answers, 4> kAnswers{{{0, 1}, {1, 0}, {1, 0}, {0, 1}}};

using DestroySessionTest = fakes::LinkedModuleFixture;

TEST_F(DestroySessionTest, EveryServiceTakesBackItsOwnSessionsAlone) {
  InstallImageLibrary(FAKE_IMAGE_LIBRARY);
  std::array<IService*, 4> services{};
  std::array<ISession*, 4> sessions{};
  for (std::size_t index = 0; index < 4; ++index) {
    services[index] = descriptor(index).create();
    ASSERT_NE(services[index], nullptr) << index;
    sessions[index] = services[index]->CreateSession();
    ASSERT_NE(sessions[index], nullptr) << index;
  }
  fakes::TakeLog();
  for (std::size_t owner = 0; owner < 4; ++owner) {
    for (std::size_t other = 0; other < 4; ++other) {
      if (other == owner) continue;
      EXPECT_EQ(services[other]->DestroySession(sessions[owner]), kAnswers[other].foreign) << owner << ' ' << other;
    }
  }
  for (std::size_t index = 0; index < 4; ++index) {
    EXPECT_EQ(services[index]->DestroySession(nullptr), kAnswers[index].foreign) << index;
    EXPECT_EQ(services[index]->DestroySession(sessions[index]), kAnswers[index].own) << index;
    descriptor(index).release(services[index]);
  }
}

}  // namespace
