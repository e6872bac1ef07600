#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tobrel::terminal {

enum class Key {
    text,
    enter,
    tab,
    backTab,
    up,
    down,
    left,
    right,
    home,
    end,
    pageUp,
    pageDown,
    backspace,
    deleteForward,
    deleteToStart,
    deleteWord,
    escape,
    close,
    suspend,
    redraw
};

struct KeyPress {
    Key key = Key::text;
    // What was typed or pasted: UTF-8 without control characters; a pasted line break is a space.
    std::string text;
    bool operator==(const KeyPress&) const = default;
};

// Turns a raw terminal's bytes into key presses, in whatever pieces they arrive. Sequences it does not know are
// dropped.
class KeyReader {
public:
    std::vector<KeyPress> take(std::string_view bytes);
    // Whether what has arrived may be the beginning of something longer: a lone Escape, a sequence, a paste.
    bool isUnfinished() const { return pasting_ || !rest_.empty(); }
    // Nothing more has come for a while: a lone Escape is the key, a paste is over, other beginnings are dropped.
    std::vector<KeyPress> finish();

private:
    bool takeOne(std::vector<KeyPress>& presses);
    bool takePasted(std::vector<KeyPress>& presses);
    void endPaste(std::vector<KeyPress>& presses);

    std::string rest_;
    std::string pasted_;
    bool pasting_ = false;
};

}  // namespace tobrel::terminal
