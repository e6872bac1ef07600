#include "frontends/terminal/label_lines.h"

#include <algorithm>
#include <iterator>

#include "frontends/terminal/text_width.h"
#include "text/harmless_text.h"

namespace tobrel::terminal {

namespace {

// A one-line label that is clipped where points are short gets a few lines of its own here, so that its sentence can
// be read on a narrow terminal.
constexpr int linesForClippedLabel = 3;

int lineLimit(const NSTextField& label) {
    bool clipped = label.lineBreakMode() == NSLineBreakMode::clipping && label.maximumNumberOfLines() == 1;
    return clipped ? linesForClippedLabel : label.maximumNumberOfLines();
}

std::vector<std::string> paragraphsOf(const NSTextField& label) {
    std::vector<std::string> paragraphs;
    std::string_view text = label.stringValue();
    bool breaks = label.maximumNumberOfLines() != 1;
    while (breaks) {
        std::size_t end = text.find('\n');
        if (end == std::string_view::npos) break;
        paragraphs.push_back(harmless(text.substr(0, end)));
        text.remove_prefix(end + 1);
    }
    paragraphs.push_back(harmless(text));
    return paragraphs;
}

// A message of more lines than its label allows comes from elsewhere than this program's own texts.
void joinSurplus(std::vector<std::string>& paragraphs, int maximum) {
    if (maximum == 0) return;
    auto limit = static_cast<std::size_t>(maximum);
    for (std::size_t i = limit; i < paragraphs.size(); ++i) paragraphs[limit - 1] += " " + paragraphs[i];
    if (paragraphs.size() > limit) paragraphs.resize(limit);
}

}  // namespace

bool isAddress(std::string_view line) {
    return line.starts_with("https://") || line.starts_with("http://");
}

std::vector<std::string> linesOf(const NSTextField& label, int columns) {
    auto paragraphs = paragraphsOf(label);
    joinSurplus(paragraphs, label.maximumNumberOfLines());
    std::vector<std::string> lines;
    for (auto& paragraph : paragraphs) {
        if (isAddress(paragraph)) {
            lines.push_back(std::move(paragraph));
            continue;
        }
        auto fitting = fitted(paragraph, columns, lineLimit(label));
        std::move(fitting.begin(), fitting.end(), std::back_inserter(lines));
    }
    return lines;
}

std::string lineOf(const NSTextField& label, int columns) {
    return fitted(harmless(label.stringValue()), columns, 1).front();
}

bool belongsTo(const Note& note, const NSTextField& label) {
    if (note.text.empty()) return false;
    return ("\n" + label.stringValue() + "\n").find("\n" + note.about + "\n") != std::string::npos;
}

std::vector<std::string> linesWithNote(const NSTextField& label, int columns, const Note& note) {
    auto lines = linesOf(label, columns);
    if (!belongsTo(note, label)) return lines;
    auto above = fitted(note.text, columns, 0);
    std::move(lines.begin(), lines.end(), std::back_inserter(above));
    return above;
}

std::vector<std::string> messageLines(const Rows& rows, int columns, const Note& note) {
    std::vector<std::string> lines;
    for (auto& row : rows) {
        auto named = [](auto& piece) { return piece.field || piece.checkBox || piece.popUp; };
        if (std::any_of(row.pieces.begin(), row.pieces.end(), named)) continue;
        std::vector<std::string> within;
        for (auto& piece : row.pieces)
            if (piece.label) within = linesWithNote(*piece.label, columns, note);
        if (within.empty() || (within.size() == 1 && within.front().empty())) continue;
        if (row.apart && !lines.empty()) lines.emplace_back();
        std::move(within.begin(), within.end(), std::back_inserter(lines));
    }
    return lines;
}

}  // namespace tobrel::terminal
