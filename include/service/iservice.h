#pragma once

#include <cstdint>
#include <memory>

#include "service/isession.h"

namespace service {

/// One service of a module. Made by its descriptor's create function and handed back to the same descriptor's release
/// function. The framework's own names of some operations are not known; their answers are fixed all the same.
class IService {
 public:
  virtual ~IService() = default;

  /// Always 0.
  virtual std::uint32_t FirstStateQuery() = 0;
  /// Always true.
  virtual bool SecondStateQuery() = 0;

  /// A new session with one reference, or null. Give it back to DestroySession.
  virtual ISession* CreateSession() = 0;
  /// Drops one reference of a session of this service. The media file and media UUID services answer 0 when the session
  /// was theirs and 1 when not; the image and SVG services answer 1 when they destroyed it and 0 when not.
  virtual std::uint32_t DestroySession(ISession* session) = 0;
  /// A session whose last owner gives it back by itself; empty when the service has no shared sessions. The service
  /// must outlive it.
  virtual std::shared_ptr<ISession> CreateSharedSession(std::uintptr_t reserved) = 0;

  /// No service of this module knows any keys. The answer is 0; all but the media file service store 0 in `*result`,
  /// which may be null.
  virtual std::uint32_t KeyedQuery(std::uintptr_t first, std::uintptr_t second, std::uint32_t* result) = 0;
  /// The same without an answer to store: 0 from the SVG service, 1 from the others.
  virtual std::uint32_t KeyedRequest(std::uintptr_t first, std::uintptr_t second, std::uintptr_t third,
                                     std::uint32_t* result) = 0;
  /// Drops the reference passed in; move it in to give up the last one.
  virtual std::uint32_t ReleaseSharedSession(std::shared_ptr<ISession> session) = 0;

  /// Always false.
  virtual bool FinalQuery() = 0;
};

}  // namespace service
