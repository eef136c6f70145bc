// The file with the secret, and the header that shows it.

#include <sys/stat.h>

#include <algorithm>

#include "fuzz/fuzz_target.h"
#include "http/server/gate.h"
#include "http/server/token.h"
#include "support/temp_dir.h"

namespace {

bool isTokenText(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
           (c != '\0' && std::string_view("-._~+/=").find(c) != std::string_view::npos);
  });
}

/// A home whose token file only its user may read.
const TempDir& home() {
  static const TempDir directory;
  static const bool isMade = [] {
    directory.write(std::string(fw::http::kTokenPath), "");
    return chmod((directory / std::string(fw::http::kTokenPath)).c_str(), 0600) == 0;
  }();
  fuzz::check(isMade, "the file belongs to its user only");
  return directory;
}

fw::http::Token load(const std::string& content) {
  home().write(std::string(fw::http::kTokenPath), content);
  return fw::http::loadToken(home().path().string());
}

/// What is said of a file that holds no token.
const std::string& badFileError() {
  static const std::string error = load("?").error;
  return error;
}

bool mayChange(const std::string& token, const std::string& authorization) {
  const fw::http::Gate gate(8080, {}, token);
  fw::http::RawRequest raw;
  raw.method = "POST";
  raw.target = "/api/v1/actions";
  raw.hosts = {"localhost:8080"};
  raw.authorizations = {authorization};
  return std::holds_alternative<fw::http::Request>(gate.check(raw));
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string content(fuzz::textOf(data, size));
  const fw::http::Token token = load(content);
  fuzz::check(home().read(std::string(fw::http::kTokenPath)) == content, "the file stays");
  fuzz::check(token.text.empty() != token.error.empty(), "there is a token or an error");
  if (token.text.empty()) {
    fuzz::check(token.error == badFileError(), "an error does not tell what the file holds");
    fuzz::check(!mayChange(token.text, "Bearer " + content), "no token opens nothing");
    return 0;
  }
  fuzz::check(token.text == content || token.text + '\n' == content, "the token is the line");
  fuzz::check(token.text.size() >= 32 && token.text.size() <= 1024 && isTokenText(token.text),
              "the token is one");
  fuzz::check(mayChange(token.text, "bearer " + token.text), "the token opens");
  fuzz::check(!mayChange(token.text, token.text), "the scheme has to be named");
  std::string other = token.text;
  other[size % other.size()] ^= 1;
  fuzz::check(!mayChange(token.text, "Bearer " + other), "another token does not open");
  fuzz::check(!mayChange(token.text, "Bearer " + token.text + "a"), "nor does a longer one");
  return 0;
}
