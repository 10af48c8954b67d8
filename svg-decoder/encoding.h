#pragma once

#include <expat.h>

namespace svg_decoder {

/// Tells the parser an encoding that it does not know by itself: the Windows, ISO 8859 and KOI8 code pages. A
/// XML_UnknownEncodingHandler.
int DescribeEncoding(void* user_data, const XML_Char* name, XML_Encoding* encoding);

}  // namespace svg_decoder
