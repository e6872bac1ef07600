#include "frontends/terminal/keys.h"

#include <algorithm>
#include <map>
#include <optional>

#include "text/utf8.h"

namespace tobrel::terminal {

namespace {

constexpr char escapeByte = '\x1B';
constexpr std::string_view pasteStart = "\x1B[200~";
constexpr std::string_view pasteEnd = "\x1B[201~";

bool isControl(char32_t character) {
    return character < 0x20 || (character >= 0x7F && character < 0xA0);
}

std::optional<Key> keyOfControl(char byte) {
    switch (byte) {
        case '\r':
        case '\n':
            return Key::enter;
        case '\t':
            return Key::tab;
        case '\x7F':
        case '\b':
            return Key::backspace;
        case '\x01':
            return Key::home;
        case '\x05':
            return Key::end;
        case '\x02':
            return Key::left;
        case '\x06':
            return Key::right;
        case '\x10':
            return Key::up;
        case '\x0E':
            return Key::down;
        case '\x15':
            return Key::deleteToStart;
        case '\x17':
            return Key::deleteWord;
        case '\x03':
        case '\x04':
            return Key::close;
        case '\x1A':
            return Key::suspend;
        case '\x0C':
            return Key::redraw;
        default:
            return std::nullopt;
    }
}

// The sequence without its Escape; a modifier makes no difference.
std::optional<Key> keyOfSequence(std::string_view sequence) {
    static const std::map<char, Key> letters = {{'A', Key::up},     {'B', Key::down}, {'C', Key::right},
                                                {'D', Key::left},   {'H', Key::home}, {'F', Key::end},
                                                {'Z', Key::backTab}};
    static const std::map<std::string_view, Key> numbers = {
        {"1", Key::home},   {"7", Key::home},     {"4", Key::end},          {"8", Key::end},
        {"5", Key::pageUp}, {"6", Key::pageDown}, {"3", Key::deleteForward}};
    if (sequence == "OM") return Key::enter;
    if (sequence.starts_with("[[") || sequence.starts_with("[<")) return std::nullopt;
    if (sequence.back() == '~') {
        auto number = numbers.find(sequence.substr(1, sequence.find_first_of(";~") - 1));
        if (number != numbers.end()) return number->second;
        return std::nullopt;
    }
    auto letter = letters.find(sequence.back());
    if (letter != letters.end()) return letter->second;
    return std::nullopt;
}

// The length of the control sequence that the bytes begin with, 0 while it is unfinished.
std::size_t sequenceLength(std::string_view bytes) {
    // The Linux console's function keys have a second bracket.
    for (std::size_t i = bytes.starts_with("\x1B[[") ? 3 : 2; i < bytes.size(); ++i) {
        bool parameter = bytes[i] >= 0x20 && bytes[i] < 0x40;
        if (!parameter) return i + 1;
    }
    return 0;
}

// How many bytes the UTF-8 character needs that this byte begins.
std::size_t announcedLength(char first) {
    auto byte = static_cast<unsigned char>(first);
    if (byte >= 0xF8) return 1;
    if (byte >= 0xF0) return 4;
    if (byte >= 0xE0) return 3;
    return byte >= 0xC0 ? 2 : 1;
}

bool isBeginningOfCharacter(std::string_view bytes) {
    auto continues = [](char byte) { return (byte & 0xC0) == 0x80; };
    return bytes.size() < announcedLength(bytes.front()) && std::all_of(bytes.begin() + 1, bytes.end(), continues);
}

std::string withoutControls(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        CodePoint next = firstCodePoint(text);
        if (next.value && !isControl(*next.value)) result += text.substr(0, next.length);
        text.remove_prefix(next.length);
    }
    return result;
}

}  // namespace

std::vector<KeyPress> KeyReader::take(std::string_view bytes) {
    rest_ += bytes;
    std::vector<KeyPress> presses;
    while (!rest_.empty() && (pasting_ ? takePasted(presses) : takeOne(presses))) continue;
    return presses;
}

std::vector<KeyPress> KeyReader::finish() {
    std::vector<KeyPress> presses;
    if (pasting_) {
        pasted_ += rest_;
        endPaste(presses);
    } else if (rest_ == std::string_view(&escapeByte, 1)) {
        presses.push_back({Key::escape, ""});
    }
    rest_.clear();
    return presses;
}

bool KeyReader::takeOne(std::vector<KeyPress>& presses) {
    char first = rest_.front();
    if (first == escapeByte) {
        if (rest_.size() == 1) return false;
        if (rest_[1] == escapeByte) {
            presses.push_back({Key::escape, ""});
            rest_.erase(0, 1);
            return true;
        }
        if (rest_[1] != '[' && rest_[1] != 'O') {
            // A key pressed together with Alt.
            std::string_view character = std::string_view(rest_).substr(1);
            if (isBeginningOfCharacter(character)) return false;
            rest_.erase(0, 1 + firstCodePoint(character).length);
            return true;
        }
        std::size_t length = sequenceLength(rest_);
        if (length == 0) return false;
        std::string sequence = rest_.substr(0, length);
        rest_.erase(0, length);
        pasting_ = sequence == pasteStart;
        if (auto key = keyOfSequence(std::string_view(sequence).substr(1))) presses.push_back({*key, ""});
        return true;
    }
    if (auto byte = static_cast<unsigned char>(first); byte < 0x20 || byte == 0x7F) {
        rest_.erase(0, 1);
        if (auto key = keyOfControl(first)) presses.push_back({*key, ""});
        return true;
    }
    CodePoint character = firstCodePoint(rest_);
    if (!character.value && isBeginningOfCharacter(rest_)) return false;
    std::string typed = withoutControls(std::string_view(rest_).substr(0, character.length));
    rest_.erase(0, character.length);
    if (!typed.empty()) presses.push_back({Key::text, typed});
    return true;
}

bool KeyReader::takePasted(std::vector<KeyPress>& presses) {
    std::size_t end = rest_.find(pasteEnd);
    if (end != std::string::npos) {
        pasted_ += rest_.substr(0, end);
        rest_.erase(0, end + pasteEnd.size());
        endPaste(presses);
        return true;
    }
    // The end mark may arrive in two pieces.
    std::size_t sure = rest_.size() - std::min(rest_.size(), pasteEnd.size() - 1);
    pasted_ += rest_.substr(0, sure);
    rest_.erase(0, sure);
    return false;
}

void KeyReader::endPaste(std::vector<KeyPress>& presses) {
    pasting_ = false;
    std::string line;
    pasted_.erase(pasted_.find_last_not_of("\r\n") + 1);
    pasted_.erase(0, pasted_.find_first_not_of("\r\n"));
    for (char byte : pasted_) line += byte == '\r' || byte == '\n' || byte == '\t' ? ' ' : byte;
    pasted_.clear();
    if (line = withoutControls(line); !line.empty()) presses.push_back({Key::text, line});
}

}  // namespace tobrel::terminal
