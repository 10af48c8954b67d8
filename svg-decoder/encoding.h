#pragma once

#include <expat.h>

namespace svg_decoder {

/// Tells the parser where characters begin and end in an encoding that it does not know by itself: code pages of one
/// byte a character, those of East Asia, UTF-8 by its other names. A XML_UnknownEncodingHandler.
///
/// What is read of a drawing is ASCII, which all of them share. The letters beyond are told apart, but not which they
/// are: that would take a converter of the system's for each, chosen by the document.
int DescribeEncoding(void* user_data, const XML_Char* name, XML_Encoding* encoding);

}  // namespace svg_decoder
