#include "temp_root.h"

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace fs = std::filesystem;

TempRoot::TempRoot() {
  std::string name = (fs::temp_directory_path() / "zelhost.XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) {
    throw std::runtime_error("mkdtemp");
  }
  root_ = fs::canonical(name);
  write("agents/jmx/config/agent.yaml", "product: {code: ZJX}\n");
  write("agents/jmx/config/zjxwb.properties", "../../share/zel/app.jar\n-Xrs\n");
  write("share/zel/app.jar", "");
}

TempRoot::~TempRoot() {
  std::error_code ignored;
  fs::remove_all(root_, ignored);
}

fs::path TempRoot::write(const std::string& path, const std::string& text) const {
  const fs::path file = root_ / path;
  fs::create_directories(file.parent_path());
  std::ofstream(file) << text;
  return file;
}

std::string readFile(const fs::path& path) {
  std::ostringstream text;
  text << std::ifstream(path).rdbuf();
  return text.str();
}
