#pragma once

#include <span>
#include <string_view>

namespace fw::http {

/// A file of the page, as it was in the folder page/ when the framework was built.
struct PageFile {
  std::string_view path;         ///< the address
  std::string_view contentType;  ///< static storage
  std::string_view content;      ///< static storage
};

std::span<const PageFile> pageFiles();

/// The file at an address, or null.
const PageFile* findPageFile(std::string_view path);

}  // namespace fw::http
