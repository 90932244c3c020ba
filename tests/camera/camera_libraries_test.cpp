#include "camera/message/message.h"
#include "camera/quill/quill.h"
#include "tests/wav/wav_bytes.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

class QuillTest : public testing::Test {
protected:
    int read(const std::string &xml) {
        const TemporaryFile file(xml);
        const QUILL_ROW table[] = {
            {"/r/text", QUILL_KIND_TEXT, sizeof text_, text_, nullptr},
            {"/r/number", QUILL_KIND_INTEGER, sizeof number_, &number_, nullptr},
            {"/r/made", QUILL_KIND_CONVERTED, sizeof made_, &made_,
             [](const char *text, void *out) {
                 *static_cast<char *>(out) = text[0];
                 return text[0] == 'x' ? 1 : 0;
             }},
            {}};
        return Quill_ReadAll(file.path(), table);
    }

    char text_[8] = "before";
    std::int32_t number_ = 7;
    char made_ = '-';
};

TEST_F(QuillTest, FillsWhatTheTableNames) {
    EXPECT_EQ(0, read("<r><text>\n  a &amp; b </text><number>-12</number><made>m</made>"
                      "<text2>no</text2><other><text>deeper</text></other></r>"));
    EXPECT_STREQ("a & b", text_);
    EXPECT_EQ(-12, number_);
    EXPECT_EQ('m', made_);
}

TEST_F(QuillTest, LeavesWhatIsMissing) {
    EXPECT_EQ(0, read("<other/>"));
    EXPECT_STREQ("before", text_);
    EXPECT_EQ(0, read("<r><text/></r>"));
    EXPECT_STREQ("", text_);
    EXPECT_EQ(0, read("<r><text>longer than the field</text></r>"));
    EXPECT_STREQ("longer ", text_);
    EXPECT_EQ(0, read("<r><text>" + std::string(100000, ' ') + "far</text></r>"));
    EXPECT_STREQ("far", text_);
}

TEST_F(QuillTest, RefusesTheRest) {
    for (const char *xml : {"", "<r>", "<r></s>", "no xml", "<r><number>x</number></r>",
                            "<r><number>1x</number></r>", "<r><number></number></r>",
                            "<r><number>2147483648</number></r>", "<r><made>x</made></r>"}) {
        EXPECT_NE(0, read(xml)) << xml;
    }
    const QUILL_ROW none[] = {{}};
    EXPECT_NE(0, Quill_ReadAll("/no/such/file", none));
    EXPECT_NE(0, Quill_ReadAll("/tmp", none));
}

class MessageTest : public testing::Test {
protected:
    ~MessageTest() override { XML_ParserFree(parser_); }

    static std::uint32_t sizeOf(const std::string &body) {
        return static_cast<std::uint32_t>(body.size());
    }
    int entries(const std::string &body) {
        count_ = 2;
        return Message_Parse_Control(parser_, body.data(), sizeOf(body), &count_, found_);
    }
    std::uint32_t type(const std::string &body) {
        return Message_GetDataType(parser_, body.data(), sizeOf(body));
    }
    int text(const std::string &body, std::uint32_t room = 6) {
        return Message_Parse_SingleData(parser_, body.data(), sizeOf(body), text_, room);
    }

    XML_Parser parser_ = XML_ParserCreate(nullptr);
    std::uint32_t count_ = 0;
    MESSAGE_CONTROL_ENTRY found_[2] = {};
    char text_[6] = "";
};

TEST_F(MessageTest, TakesHeadersApart) {
    std::uint32_t type = 0;
    std::uint32_t header = 0;
    std::uint32_t body = 0;
    const unsigned char good[] = {3, 200, 0x34, 0x12};
    EXPECT_EQ(0, Message_GetTypeLength(good, 4, &type, &header, &body));
    EXPECT_EQ(3U, type);
    EXPECT_EQ(200U, header);
    EXPECT_EQ(0x1234U, body);
    EXPECT_NE(0, Message_GetTypeLength(good, 3, &type, &header, &body));
    const unsigned char shortHeader[] = {3, 3, 0, 0};
    EXPECT_NE(0, Message_GetTypeLength(shortHeader, 4, &type, &header, &body));
}

// One parser serves message after message, whatever the one before was.
TEST_F(MessageTest, ReusesTheParser) {
    for (int i = 0; i < 3; ++i) {
        EXPECT_NE(0, entries("<broken"));
        EXPECT_EQ(0, entries("<m><control class='1' value='9'/><x/><control value='2'/>"
                             "<control class='3'/></m>"));
        EXPECT_EQ(2U, count_);
        EXPECT_EQ(1U, found_[0].word[3]);
        EXPECT_EQ(9U, found_[0].word[4]);
        EXPECT_EQ(0U, found_[1].word[3]);
        EXPECT_EQ(5U, type("<m><data type='5'>abc</data></m>"));
        EXPECT_EQ(0x80000002U, type("<m>"));
        EXPECT_EQ(0x80000003U, type("<m><data>abc</data></m>"));
        EXPECT_EQ(0, text("<m><data type='5'>ab&lt;<i>c</i></data><data>no</data></m>"));
        EXPECT_STREQ("ab<c", text_);
        EXPECT_EQ(0, text("<m><data>abcdefgh</data></m>"));
        EXPECT_STREQ("abcde", text_);
        EXPECT_NE(0, text("<m/>"));
        EXPECT_NE(0, text("<m><data>x</data>"));
        EXPECT_NE(0, text("<m><data>x</data></m>", 0));
    }
}

} // namespace
