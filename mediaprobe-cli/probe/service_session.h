#pragma once

#include <memory>

#include "service/iservice.h"

namespace mediaprobe {

struct SessionReturner {
  service::IService* service;
  void operator()(service::ISession* session) const { service->DestroySession(session); }
};

/// A session that goes back to its service.
using SessionPtr = std::unique_ptr<service::ISession, SessionReturner>;

/// A new session of `service`, which must outlive it; empty when the service gives none.
inline SessionPtr OpenSession(service::IService& service) { return SessionPtr(service.CreateSession(), {&service}); }

}  // namespace mediaprobe
