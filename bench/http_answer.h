#pragma once

#include <string_view>

namespace tobrel::bench {

// What every lookup of the benchmark is answered.
inline constexpr std::string_view answerText =
    R"({"key":"k-7f3a91c2","path":"/Projects/2024/Report.pdf","is_folder":false})";

}  // namespace tobrel::bench
