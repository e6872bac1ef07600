#include "state/queue_rewriter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include "platform/files.h"
#include "state/queue_entry.h"

namespace tobrel {
namespace {

// Gives the text in portions of one size.
struct TextReader : FileReader {
    TextReader(std::string_view text, std::size_t portion) : text(text), portion(portion) {}
    std::optional<std::size_t> read(std::span<char> buffer) override {
        std::size_t count = text.copy(buffer.data(), std::min(buffer.size(), portion));
        text.remove_prefix(count);
        return count;
    }
    bool restart() override { return false; }
    std::string_view text;
    std::size_t portion;
};

struct TextReplacement : FileReplacement {
    bool write(std::string_view bytes) override {
        text += bytes;
        return true;
    }
    bool restart() override {
        text.clear();
        return true;
    }
    bool commit() override { return true; }
    Exchange exchange(const FileState&) override { return Exchange::failed; }
    std::unique_ptr<FileReader> displaced() override { return nullptr; }
    void keepDisplaced() override {}
    std::string text;
};

std::string append(std::string_view old, std::vector<std::string> identifiers = {"new"},
                   std::size_t portion = 1 << 20) {
    TextReader reader(old, portion);
    TextReplacement replacement;
    QueueRewriter rewriter(replacement);
    rewriter.copy(reader);
    for (const std::string& identifier : identifiers) {
        std::string entry;
        addQueueEntry(entry, identifier, true);
        rewriter.add(entry);
    }
    EXPECT_TRUE(rewriter.finish());
    return replacement.text;
}

const std::string added = R"({"id":"new","pin":true})";

std::string nested(std::size_t depth) {
    return R"([{"a":)" + std::string(depth - 2, '[') + std::string(depth - 2, ']') + "}]";
}

TEST(QueueRewriter, KeepsWhatIsValidToTheByteButForWhiteSpaceBetweenTokens) {
    const std::pair<std::string, std::string> cases[] = {
        {"[]", ""},
        {" \t\r\n[ \n] ", ""},
        {"\xEF\xBB\xBF[{}]", "{}"},
        {R"([{"pin":false,"id":"a\/\u0041\n\"\\"},{"id":"a"},{"id":"a"}])",
         R"({"pin":false,"id":"a\/\u0041\n\"\\"},{"id":"a"},{"id":"a"})"},
        {R"([ { "id" : " a  b " , "pin" : true } , { } ])", R"({"id":" a  b ","pin":true},{})"},
        {"[{\"n\": [1E+2, -0, 0.10, 18446744073709551616, 1e-99999999999, 1e400, {\"e5\":5e05}]}]",
         "{\"n\":[1E+2,-0,0.10,18446744073709551616,1e-99999999999,1e400,{\"e5\":5e05}]}"},
        {"[{\"é\":\"\xF0\x9F\x98\x80\\ud83d\\ude00\x7F\",\"a\":null,\"a\":null}]",
         "{\"é\":\"\xF0\x9F\x98\x80\\ud83d\\ude00\x7F\",\"a\":null,\"a\":null}"},
        {R"([{"a":"\udc00","\uDBFF\\ud800":["\ud83d"]}, {"\uD800" : "\ud800\ud800 \u00e9"}])",
         R"({"a":"\udc00","\uDBFF\\ud800":["\ud83d"]},{"\uD800":"\ud800\ud800 \u00e9"})"},
        {"[{ \"id\" : \"\\t\\/é😀\x7F\\u00E9\" , \"n\" : -0.5, \"z\":0 ,\"t\":null}]",
         "{\"id\":\"\\t\\/é😀\x7F\\u00E9\",\"n\":-0.5,\"z\":0,\"t\":null}"},
        {nested(512), nested(512).substr(1, nested(512).size() - 2)},
    };
    for (const auto& [old, kept] : cases) {
        const std::string expected = "[" + kept + (kept.empty() ? "" : ",") + added + "]";
        for (std::size_t portion : {1, 2, 3, 7, 1 << 20}) EXPECT_EQ(append(old, {"new"}, portion), expected) << portion;
    }
}

TEST(QueueRewriter, DropsTheWholeOfAnOldQueueThatIsMalformedAnywhere) {
    const std::string good = R"({"id":"a","pin":true})", other = R"({"id": "a"})";
    // What follows an entry, each with a ~ behind it.
    const char* malformed =
        "~,~,]~,,{}]~]]~] x~,1]~,\"a\"]~,[]]~,[{}]]~{}]~}]~,{]~,{]}~,{\"a\":01}]~,{\"a\":.5}]~"
        ",{\"a\":1e}]~,{\"a\":1 2}]~,{\"a\":1e5 6}]~,{\"a\":tr ue}]~,{\"a\"}]~,{a:1}]~,{'a':1}]~"
        ",{\"a\":1,}]~,{\"a\":[1,]}]~,{\"a\":\"\\x\"}]~,{\"a\":\"\n\"}]~,{\"a\":\"\xFF\"}]~"
        ",{\"a\":\"\xC0\x80\"}]~,{\"a\":\"\\ud80\"}]~,{\"a\":\"\\ud80g    \"}]~,{\"a\":-}]~"
        ",{\"a\":1.}]~,{\"a\":00}]~,{\"a\":nul1}]~,{\"a\":\"\xED\xA0\x80\"}]~,{\"a\":1:\"b\",2}]~"
        ",{1:\"b\"}]~,{\"a\":NaN}]~,/**/{}]~,{\"id\":\"a\",\"pin\":truf}]~"
        ",{\"id\":\"\x01\",\"pin\":true}]~,{\"id\":\"\x80\",\"pin\":true}]~]\xEF\xBB\xBF~";
    std::vector<std::string> cases = {"",   " ", "\xEF\xBB\xBF", "\xEF\xBB", "nul", "{}",
                                      good, "1", "\"a\"",        "[",        "]",   "[,]"};
    cases.push_back(nested(513));
    for (const std::string& entry : {good, other}) {
        std::istringstream rests(malformed);
        for (std::string rest; std::getline(rests, rest, '~');) cases.push_back("[" + entry + rest);
        cases.push_back("[" + entry + std::string(",{}]\0", 5));
    }
    for (const std::string& old : cases)
        for (std::size_t portion : {1, 5, 1 << 20}) EXPECT_EQ(append(old, {"new"}, portion), "[" + added + "]") << old;
    EXPECT_EQ(append("[1]", {}), "[]");
}

TEST(QueueRewriter, TakesTokensThatLieAcrossThePiecesInWhichItReads) {
    const std::string tail =
        R"(,{"id":"a","pin":true},{"é\"\u00e9" : [ true,-1.5e+3 , "😀\\" ]}, {"id" :"b","pin":false}])";
    const std::string compactTail =
        R"(,{"id":"a","pin":true},{"é\"\u00e9":[true,-1.5e+3,"😀\\"]},{"id":"b","pin":false},)";
    for (std::size_t boundary : {64 * 1024, 512 * 1024}) {
        for (std::size_t shift = 0; shift <= tail.size(); ++shift) {
            std::string filler = R"({"id":")" + std::string(boundary - shift - 22, 'x') + R"(","pin":true})";
            ASSERT_EQ(append("[" + filler + tail), "[" + filler + compactTail + added + "]")
                << boundary << " " << shift;
        }
    }
    EXPECT_EQ(append("[" + std::string(200'000, ' ') + "]"), "[" + added + "]");
}

TEST(QueueRewriter, WritesIdentifiersOfAnyBytesAsValidJson) {
    const std::string huge(300'000, 'x');
    EXPECT_EQ(append("[]", {"", "a/\"\\\n\x01", "\xFF\xC3", "é😀", std::string("\0", 1), "a", "a", huge}),
              R"([{"id":"","pin":true},{"id":"a/\"\\\n\u0001","pin":true},{"id":"��","pin":true},)"
              R"({"id":"é😀","pin":true},{"id":"\u0000","pin":true},{"id":"a","pin":true},{"id":"a","pin":true},)"
              R"({"id":")" +
                  huge + R"(","pin":true}])");
}

}  // namespace
}  // namespace tobrel
