#include "http/page/page.h"

#include <gtest/gtest.h>

#include <regex>
#include <string>

namespace fw::http {
namespace {

TEST(PageTest, FindsItsFilesByAddress) {
  const PageFile* page = findPageFile("/");

  ASSERT_NE(page, nullptr);
  EXPECT_EQ(page->contentType, "text/html; charset=utf-8");
  EXPECT_EQ(page->content.substr(0, 15), "<!doctype html>");
  EXPECT_EQ(findPageFile("/index.html"), nullptr);
  EXPECT_EQ(findPageFile(""), nullptr);
}

TEST(PageTest, HasEveryFileThatThePageNames) {
  const std::string html(findPageFile("/")->content);
  const std::regex reference("(?:src|href)=\"(/[^\"]*\\.[a-z]+)\"");
  int seen = 0;

  for (std::sregex_iterator each(html.begin(), html.end(), reference), end; each != end; ++each) {
    EXPECT_NE(findPageFile((*each)[1].str()), nullptr) << (*each)[1];
    ++seen;
  }

  EXPECT_GE(seen, 3);
}

TEST(PageTest, HasEveryModuleThatAModuleImports) {
  const std::regex import("from '\\.(/[a-z]+\\.js)'");
  int seen = 0;

  for (const char* module :
       {"/app.js", "/api.js", "/dom.js", "/format.js", "/grid.js", "/live.js", "/side.js"}) {
    ASSERT_NE(findPageFile(module), nullptr) << module;
    const std::string code(findPageFile(module)->content);
    for (std::sregex_iterator each(code.begin(), code.end(), import), end; each != end; ++each) {
      EXPECT_NE(findPageFile((*each)[1].str()), nullptr) << (*each)[1];
      ++seen;
    }
  }

  EXPECT_GE(seen, 5);
}

// The policy that is sent with the page forbids all of these: they would silently do nothing.
TEST(PageTest, NeedsNothingThatItsPolicyForbids) {
  const std::string html(findPageFile("/")->content);

  EXPECT_FALSE(std::regex_search(html, std::regex("<script(?![^>]*src=)")));
  EXPECT_FALSE(std::regex_search(html, std::regex("<style|\\sstyle=|\\son[a-z]+=")));
  for (const char* file :
       {"/", "/app.css", "/app.js", "/api.js", "/grid.js", "/live.js", "/side.js"}) {
    const std::string text(findPageFile(file)->content);
    EXPECT_FALSE(std::regex_search(text, std::regex("https?://|@import|innerHTML|eval\\(")))
        << file;
  }
}

}  // namespace
}  // namespace fw::http
