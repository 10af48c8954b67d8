#pragma once

namespace service {

/// What a service hands out to answer one caller. A session belongs to the service that made it and goes back to that
/// service's DestroySession. Its query interface (IMediaFileInfo and others) is found by dynamic_cast.
class ISession {
 public:
  virtual ~ISession() = default;
};

}  // namespace service
