#include "http/page/page.h"

#include "http_page_content.h"

namespace fw::http {

namespace {

constexpr PageFile kFiles[] = {
    {"/", "text/html; charset=utf-8", page_content::kIndexHtml},
    {"/app.css", "text/css; charset=utf-8", page_content::kAppCss},
    {"/app.js", "text/javascript; charset=utf-8", page_content::kAppJs},
    {"/api.js", "text/javascript; charset=utf-8", page_content::kApiJs},
    {"/dom.js", "text/javascript; charset=utf-8", page_content::kDomJs},
    {"/format.js", "text/javascript; charset=utf-8", page_content::kFormatJs},
    {"/grid.js", "text/javascript; charset=utf-8", page_content::kGridJs},
    {"/live.js", "text/javascript; charset=utf-8", page_content::kLiveJs},
    {"/side.js", "text/javascript; charset=utf-8", page_content::kSideJs},
    {"/icon.svg", "image/svg+xml", page_content::kIconSvg},
};

}  // namespace

std::span<const PageFile> pageFiles() { return kFiles; }

const PageFile* findPageFile(std::string_view path) {
  for (const PageFile& file : kFiles) {
    if (file.path == path) {
      return &file;
    }
  }
  return nullptr;
}

}  // namespace fw::http
