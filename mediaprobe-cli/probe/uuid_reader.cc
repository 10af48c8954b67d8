#include "probe/uuid_reader.h"

#include "core/error_text.h"
#include "mediauuid/imedia_uuid.h"
#include "probe/service_session.h"

namespace mediaprobe {

UuidReader::Answer UuidReader::Read(const InputPath& path) const {
  if (!path.local_path) return {{}, "only files have one"};
  const SessionPtr session = OpenSession(service_);
  auto* reader = dynamic_cast<service::mediauuid::IMediaUuid*>(session.get());
  if (reader == nullptr) return {{}, "the media UUID service gives no session"};

  CoreSetErrorText(nullptr);
  const char* text = reader->GetUuidText(UuidUrl(path).c_str());
  if (text && *text) return {text, {}};
  const std::string reason = CoreErrorText();
  return {{}, reason.empty() ? "the content cannot be read" : reason};
}

}  // namespace mediaprobe
