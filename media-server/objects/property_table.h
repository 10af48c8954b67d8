#pragma once

#include "media-server/model/media_description.h"

namespace media_server {

/// Writes the property `key` (property_keys.h) to `out`, which points to a value of the key's type; a text is a BSTR
/// that the caller frees. False, and `out` untouched, for an unknown key and for a property that the file does not
/// tell.
bool DeliverProperty(const PictureProperties& properties, const char16_t* key, void* out);

}  // namespace media_server
