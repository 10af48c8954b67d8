#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>

#include "probe/digest_watch.h"
#include "probe/input_path.h"
#include "record/record.h"
#include "service/iservice.h"

namespace mediaprobe {

/// Which service answers: the one that an input's content calls for, or always the same.
enum class ServiceChoice { kAuto, kMedia, kImage, kSvg };

/// Asks the services about inputs. A service is acquired when the first input needs it: that of SVG images loads a
/// renderer, which no probe of a video is to wait for.
class Prober {
 public:
  /// Gives the service of that name, or null.
  using ServiceSource = std::function<std::shared_ptr<service::IService>(const char* name)>;

  struct Settings {
    ServiceChoice service = ServiceChoice::kAuto;
    std::string key;          ///< hex key for protected files, empty for none
    bool wants_uuid = false;  ///< adds the content's UUID to records without an error
  };

  Prober(ServiceSource source, Settings settings);

  /// Acquires what every input needs, so that it is there when the process is forked.
  void Prepare();
  /// Likewise the service of that name.
  void Prepare(const char* service);

  /// Never fails: what cannot be answered becomes a record with an error. `report`, which may be empty, is called when
  /// only the digest is left, and from then on as that goes on, from another thread. One thread at a time.
  Record Probe(const std::string& input, const ReportDigest& report);

 private:
  /// Null when the service cannot be had.
  service::IService* Service(const char* name);
  Record ProbeByContent(InputPath& path);
  Record ProbeMedia(InputPath& path);
  Record ProbeImage(const InputPath& path);
  Record ProbeSvg(InputPath& path);
  void AddUuid(const InputPath& path, const ReportDigest& report, Record& record);

  ServiceSource source_;
  Settings settings_;
  std::map<std::string, std::shared_ptr<service::IService>> services_;
};

}  // namespace mediaprobe
