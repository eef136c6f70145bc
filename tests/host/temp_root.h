#pragma once

#include <filesystem>
#include <string>

/// An installation in a fresh temporary folder, as far as the host looks at it: a product home with
/// configuration, var/ and logs.
class TempRoot {
 public:
  TempRoot();
  ~TempRoot();
  TempRoot(const TempRoot&) = delete;
  TempRoot& operator=(const TempRoot&) = delete;

  std::filesystem::path root() const { return root_; }
  std::filesystem::path home() const { return root_ / "agents" / "jmx"; }
  std::filesystem::path logs() const { return root_ / "logs"; }

  /// Writes a file below the root, with its folders. Returns its path.
  std::filesystem::path write(const std::string& path, const std::string& text) const;

 private:
  std::filesystem::path root_;
};

std::string readFile(const std::filesystem::path& path);
