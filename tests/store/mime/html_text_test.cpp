#include "html_text.h"

#include <gtest/gtest.h>

namespace fendrel::mime {
namespace {

struct Sample {
  const char* name;
  const char *html, *text;
};

class HtmlTextTest : public testing::TestWithParam<Sample> {};

TEST_P(HtmlTextTest, IsItsWords) { EXPECT_EQ(textOfHtml(GetParam().html), GetParam().text); }

INSTANTIATE_TEST_SUITE_P(
    Texts, HtmlTextTest,
    testing::Values(
        Sample{"Nothing", "", ""}, Sample{"NoTags", "as it is", "as it is\r\n"},
        Sample{"Blocks", "<h1>Sales</h1><p>of <b>May</b></p>\n<P CLASS='x'>and June",
               "Sales\r\nof May\r\nand June\r\n"},
        Sample{"LineBreaks", "one<br>two<br/>three<BR />four", "one\r\ntwo\r\nthree\r\nfour\r\n"},
        Sample{"Blanks", "  a \r\n\t b  ", "a b\r\n"}, Sample{"BlankBeforeTag", "a <b>b</b> c", "a b c\r\n"},
        Sample{"StyleAndScript", "<style>p { color: red }</style>a<script>if (1 < 2) b();</SCRIPT >c", "ac\r\n"},
        Sample{"StyleWithoutEnd", "a<style>p { }", "a\r\n"}, Sample{"Comment", "a<!-- <p>b</p> -->c", "ac\r\n"},
        Sample{"References", "&lt;5 &amp; &gt;3&nbsp;&quot;x&quot; &#228;&#x65E5;",
               "<5 & >3 \"x\" \xC3\xA4\xE6\x97\xA5\r\n"},
        Sample{"UnknownReferences", "a&b &foo; &#xZZ; &#0; &", "a&b &foo; &#xZZ; \xEF\xBF\xBD &\r\n"},
        Sample{"LessThan", "1 < 2 <", "1 < 2 <\r\n"}, Sample{"TagWithoutEnd", "a<p", "a\r\n"},
        Sample{"Table", "<table><tr><td>a</td> <td>b</td></tr><tr><td>c</td></tr></table>", "a b\r\nc\r\n"}),
    [](const auto& instance) { return instance.param.name; });

}  // namespace
}  // namespace fendrel::mime
