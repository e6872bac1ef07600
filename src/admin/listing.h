#pragma once

#include <string>
#include <string_view>

namespace tobrel::admin {

// Foreign bytes as one field of a plain listing: "\n", "\t", "\\" and so on, "\xHH" for each byte of what is no UTF-8
// or would drive a terminal. Reads back without loss.
std::string plainField(std::string_view bytes);

// As a JSON string, quotation marks included, with escapes for what would drive a terminal; what is no UTF-8 becomes
// U+FFFD.
std::string jsonString(std::string_view bytes);

}  // namespace tobrel::admin
