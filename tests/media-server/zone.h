#pragma once

#include <stdlib.h>
#include <time.h>

namespace media_server {

/// Sets the time zone of the process for one test.
class Zone {
 public:
  explicit Zone(const char* rule) {
    setenv("TZ", rule, 1);
    tzset();
  }
  Zone(const Zone&) = delete;
  Zone& operator=(const Zone&) = delete;
  ~Zone() {
    unsetenv("TZ");
    tzset();
  }
};

}  // namespace media_server
