#include "admin/import_lines.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>

#include "text/harmless_text.h"

namespace tobrel::admin {

namespace {

// How far a long import is, for who sits before it.
class Progress {
public:
    explicit Progress(std::string_view lines) : isShown_(isatty(STDERR_FILENO)) {
        if (isShown_) all_ = std::count(lines.begin(), lines.end(), '\n');
    }
    ~Progress() {
        if (isShown_ && told_) std::fputs("\r\x1B[K", stderr);
    }
    void reached(std::size_t line) {
        constexpr std::size_t step = 20'000;
        if (!isShown_ || line % step != 0) return;
        told_ = true;
        std::fprintf(stderr, "\r%zu of %zu lines", line, all_);
    }

private:
    const bool isShown_;
    bool told_ = false;
    std::size_t all_ = 0;
};

}  // namespace

Outcome<Done> importLines(FileProviderRegistry::ItemEdit& edit, std::string_view lines) {
    Progress progress(lines);
    for (std::size_t number = 1; !lines.empty(); ++number) {
        progress.reached(number);
        std::string_view line = lines.substr(0, lines.find('\n'));
        lines.remove_prefix(std::min(line.size() + 1, lines.size()));
        std::size_t tab = line.find('\t');
        auto added = tab == line.npos ? Failure{inQuotes(line) + " is not ITEM, a tab and PATH."}
                                      : edit.add(line.substr(0, tab), line.substr(tab + 1));
        if (!added) return Failure{"Line " + std::to_string(number) + ": " + added.failure().sentence};
    }
    return Done{};
}

}  // namespace tobrel::admin
