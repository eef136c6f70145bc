#include "tables/where_parser.h"

#include <fmt/format.h>

#include <charconv>
#include <limits>
#include <optional>
#include <utility>

#include "basic/nearest.h"

namespace fw {

namespace {

struct Token {
  enum class Kind { Word, Quoted, Operator, End };
  Kind kind = Kind::End;
  std::size_t position = 0;
  std::string text;  ///< without quotes
};

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }
bool isOperatorChar(char c) { return c == '=' || c == '!' || c == '<' || c == '>'; }
bool isQuote(char c) { return c == '\'' || c == '"'; }

std::optional<_IntfOper> operatorOf(std::string_view text) {
  static constexpr std::pair<std::string_view, _IntfOper> kOperators[] = {
      {"=", kIntfEqual},     {"==", kIntfEqual},          {"!=", kIntfNotEqual},
      {"<>", kIntfNotEqual}, {">=", kIntfGreaterOrEqual}, {"<=", kIntfLessOrEqual},
      {"<", kIntfLess},      {">", kIntfGreater},
  };
  for (const auto& [spelling, oper] : kOperators) {
    if (spelling == text) {
      return oper;
    }
  }
  return std::nullopt;
}

/// Equality of ASCII texts without regard to case; `lower` is in lower case.
bool isWord(const Token& token, std::string_view lower) {
  if (token.kind != Token::Kind::Word || token.text.size() != lower.size()) {
    return false;
  }
  for (std::size_t i = 0; i < lower.size(); ++i) {
    if ((token.text[i] | 0x20) != lower[i]) {
      return false;
    }
  }
  return true;
}

std::pair<std::int64_t, std::int64_t> rangeOf(ColumnType type) {
  // The smallest number of each type stands for "no value".
  switch (type) {
    case ColumnType::Int16:
      return {std::numeric_limits<std::int16_t>::min() + 1,
              std::numeric_limits<std::int16_t>::max()};
    case ColumnType::Int32:
      return {std::numeric_limits<std::int32_t>::min() + 1,
              std::numeric_limits<std::int32_t>::max()};
    default:
      return {std::numeric_limits<std::int64_t>::min() + 1,
              std::numeric_limits<std::int64_t>::max()};
  }
}

class Parser {
 public:
  Parser(std::string_view text, const TableInfo& table) : text_(text), table_(table) {}

  Predicate parse() {
    if (text_.size() > kMaxWhereBytes) {
      fail(kMaxWhereBytes, fmt::format("the text is longer than {} bytes", kMaxWhereBytes));
    }
    advance();
    Predicate predicate;
    if (token_.kind == Token::Kind::End) {
      return predicate;
    }
    while (true) {
      predicate.push_back(condition());
      if (token_.kind == Token::Kind::End) {
        return predicate;
      }
      if (!isWord(token_, "and")) {
        fail(token_.position, fmt::format("expected 'and' or the end, found {}", found()));
      }
      if (predicate.size() == kMaxConditions) {
        fail(token_.position, fmt::format("more than {} conditions", kMaxConditions));
      }
      advance();
    }
  }

 private:
  [[noreturn]] static void fail(std::size_t position, std::string message,
                                std::string nearest = {}) {
    throw WhereError{position, std::move(message), std::move(nearest)};
  }

  std::string found() const {
    return token_.kind == Token::Kind::End ? "the end" : fmt::format("'{}'", token_.text);
  }

  Condition condition() {
    const Column& subject = column();
    const _IntfOper oper = comparison(subject);
    Value limit = value(subject);
    return Condition(subject, oper, std::move(limit));
  }

  const Column& column() {
    if (token_.kind != Token::Kind::Word && token_.kind != Token::Kind::Quoted) {
      fail(token_.position, fmt::format("expected a column name, found {}", found()));
    }
    const Column* column = table_.find(token_.text);
    if (column == nullptr) {
      std::vector<std::string> names;
      for (const Column& each : table_.columns) {
        names.push_back(each.name);
      }
      std::string nearest = nearestOf(token_.text, names);
      std::string message = fmt::format("table {} has no column '{}'", table_.name, token_.text);
      if (!nearest.empty()) {
        message += fmt::format("; did you mean {}?", nearest);
      }
      fail(token_.position, std::move(message), std::move(nearest));
    }
    advance();
    return *column;
  }

  _IntfOper comparison(const Column& subject) {
    const auto oper = token_.kind == Token::Kind::Operator ? operatorOf(token_.text) : std::nullopt;
    if (!oper) {
      fail(token_.position, fmt::format("expected one of = == != <> >= <= < > after {}, found {}",
                                        subject.name, found()));
    }
    advance();
    return *oper;
  }

  Value value(const Column& subject) {
    if (token_.kind != Token::Kind::Word && token_.kind != Token::Kind::Quoted) {
      fail(token_.position,
           fmt::format("expected {} for {}, found {}", isText(subject.type) ? "text" : "a number",
                       subject.name, found()));
    }
    Value result = isText(subject.type) ? textValue(subject) : numberValue(subject);
    advance();
    return result;
  }

  Value textValue(const Column& subject) const {
    if (token_.text.size() > subject.size) {
      fail(token_.position, fmt::format("{} holds at most {} bytes, this value has {}",
                                        subject.name, subject.size, token_.text.size()));
    }
    if (token_.text.find('\0') != std::string::npos) {
      fail(token_.position, fmt::format("text for {} can't contain a NUL", subject.name));
    }
    return token_.text;
  }

  Value numberValue(const Column& subject) const {
    std::int64_t number = 0;
    const char* const end = token_.text.data() + token_.text.size();
    const auto [stop, error] = std::from_chars(token_.text.data(), end, number);
    const auto [low, high] = rangeOf(subject.type);
    if (error == std::errc::invalid_argument || stop != end) {
      fail(token_.position,
           fmt::format("expected a whole number for {}, found {}", subject.name, found()));
    }
    if (error != std::errc() || number < low || number > high) {
      fail(token_.position, fmt::format("{} of type {} takes {} to {}, not {}", subject.name,
                                        toString(subject.type), low, high, token_.text));
    }
    return number;
  }

  void advance() {
    while (at_ < text_.size() && isBlank(text_[at_])) {
      ++at_;
    }
    token_ = Token{Token::Kind::End, at_, {}};
    if (at_ == text_.size()) {
      return;
    }
    if (isQuote(text_[at_])) {
      quoted();
    } else if (isOperatorChar(text_[at_])) {
      token_.kind = Token::Kind::Operator;
      takeWhile([](char c) { return isOperatorChar(c); });
    } else {
      token_.kind = Token::Kind::Word;
      takeWhile([](char c) { return !isBlank(c) && !isOperatorChar(c) && !isQuote(c); });
    }
  }

  template <typename Test>
  void takeWhile(Test test) {
    const std::size_t begin = at_;
    while (at_ < text_.size() && test(text_[at_])) {
      ++at_;
    }
    token_.text = text_.substr(begin, at_ - begin);
  }

  void quoted() {
    token_.kind = Token::Kind::Quoted;
    const char quote = text_[at_++];
    while (true) {
      if (at_ == text_.size()) {
        fail(token_.position, fmt::format("the text that begins here has no closing {}", quote));
      }
      const char c = text_[at_++];
      if (c == quote) {
        if (at_ == text_.size() || text_[at_] != quote) {
          return;
        }
        ++at_;
      }
      token_.text += c;
    }
  }

  std::string_view text_;
  const TableInfo& table_;
  std::size_t at_ = 0;
  Token token_;
};

}  // namespace

std::variant<Predicate, WhereError> parseWhere(std::string_view text, const TableInfo& table) {
  try {
    return Parser(text, table).parse();
  } catch (WhereError& error) {
    return std::move(error);
  }
}

}  // namespace fw
