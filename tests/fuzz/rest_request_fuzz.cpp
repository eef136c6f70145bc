// Requests that passed the gate: a line with a method and a target, a line with the header
// Last-Event-ID, and the content.

#include <nlohmann/json.hpp>

#include "fuzz/fuzz_target.h"
#include "fuzz/inline_agent.h"
#include "http/api/rest_api.h"

namespace {

/// Takes the text up to `end` off the front of `rest`.
std::string take(std::string_view& rest, char end) {
  const std::size_t at = rest.find(end);
  const std::string taken(rest.substr(0, at));
  rest = at == std::string_view::npos ? "" : rest.substr(at + 1);
  return taken;
}

/// What the API answers.
std::optional<fw::http::Response> answer(const fw::http::Request& request) {
  static fuzz::InlineAgent& agent = *new fuzz::InlineAgent;
  static fw::http::RestApi& api = *new fw::http::RestApi(
      agent, [] { return fw::http::Counters(); }, 2);
  // The connection is never touched: the answer is there before anybody waits for it.
  static char connection = 0;
  const auto exchange = std::make_shared<fw::http::Exchange>(
      reinterpret_cast<MHD_Connection*>(&connection), request.target.path);
  api.handle(request, std::make_shared<fw::http::Responder>(exchange));
  return exchange->takeOrSuspend();
}

std::string contentOf(fw::http::Response& response) {
  if (const auto* fixed = std::get_if<fw::http::StaticText>(&response.content)) {
    return std::string(fixed->text);
  }
  std::string content;
  if (const auto* text = std::get_if<std::string>(&response.content)) {
    content = *text;
  } else if (auto* source = std::get_if<std::unique_ptr<fw::http::BodySource>>(&response.content)) {
    while ((*source)->next(content)) {
    }
  }
  return content;
}

void checkContent(fw::http::Response& response) {
  const std::string content = contentOf(response);
  if (response.contentType == fw::http::kJsonType ||
      response.contentType == fw::http::kProblemType) {
    fuzz::check(nlohmann::json::accept(content), "the content is JSON");
  }
  for (const fw::http::Header& header : response.headers) {
    fuzz::check(header.value.find_first_of("\r\n") == std::string::npos, "a header is one line");
  }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string_view rest = fuzz::textOf(data, size);
  fw::http::Request request;
  request.method = take(rest, ' ');
  if (fw::http::parseTarget(take(rest, '\n'), request.target)) {
    return 0;
  }
  request.lastEventId = take(rest, '\n');
  request.contentType = "application/json";
  request.body = rest;
  auto response = answer(request);
  fuzz::check(response.has_value(), "there is an answer");
  const bool isGood = response->status >= 200 && response->status < 300;
  const bool isProblem = response->contentType == fw::http::kProblemType;
  fuzz::check(isGood || (response->status >= 400 && response->status <= 503),
              "the status is one of ours");
  fuzz::check(isGood != isProblem, "what is not good is a problem");
  fuzz::check(response->status != 500, "nothing goes wrong inside");
  checkContent(*response);
  return 0;
}
