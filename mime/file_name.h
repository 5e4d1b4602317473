#pragma once

#include <string>
#include <string_view>

/// A file's name as the value of the parameter `filename` of Content-Disposition (RFC 2183, 2.3),
/// in quotes. A name (any bytes) beyond ASCII, or like an encoded word, is an encoded word there,
/// which older mail programs know, and if it is UTF-8 the parameter `filename*` follows (RFC 2231,
/// 4), on a line of its own.
std::string file_name_parameter(std::string_view name);
