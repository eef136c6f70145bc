#include "zelfinfo.h"

#include <cstdio>

#include "agentfw/ras1.h"
#include "zelicu.h"
#include "zelread.h"

RAS1_UNIT("ZELFINFO");

namespace {

bool isCharacterType(std::int32_t type) {
  switch (type) {
    case kFlt1CharVarying:
    case kFlt1CharVaryingNull:
    case kFlt1Text:
    case kFlt1TextFixed:
    case kFlt1TextLong:
    case kFlt1TextTerminated:
      return true;
    default:
      return false;
  }
}

// A record's lengths are signed; a negative one is none.
std::size_t byteCount(std::int16_t length) {
  return length > 0 ? static_cast<std::size_t>(length) : 0;
}

std::string bytesOf(const void* data, std::int16_t length) {
  return std::string(static_cast<const char*>(data), byteCount(length));
}

template <typename T>
std::string format(const char* pattern, T value) {
  char buffer[64];
  std::snprintf(buffer, sizeof(buffer), pattern, value);
  return buffer;
}

// Types of no fixed width get the type of their width, if there is one.
std::int32_t effectiveType(const FLT1_FILTERINFO& filter) {
  if (filter.dataType == kFlt1SizedInt || filter.dataType == kFlt1SizedIntNull) {
    switch (filter.dataSize) {
      case 1:
        return kFlt1UInt8;
      case 2:
        return kFlt1UInt16;
      case 4:
        return kFlt1Word;
      default:
        break;
    }
  }
  return filter.dataType;
}

std::string utf8ToDefault(const FLT1_FILTERINFO& filter) {
  std::string text;
  zelUtf8ToDefault(text, static_cast<const char*>(filter.value),
                   static_cast<unsigned>(byteCount(filter.dataSize)));
  return text;
}

std::string render(const FLT1_FILTERINFO& filter) {
  RAS1_FUNCTION();
  const std::int32_t type = effectiveType(filter);
  if (isCharacterType(type)) {
    return bytesOf(filter.value, filter.dataSize);
  }
  switch (type) {
    case kFlt1UInt16:
      return format("%u", zelRead<std::uint16_t>(filter.value));
    case kFlt1UInt8:
      return format("%u", zelRead<std::uint8_t>(filter.value));
    case kFlt1Word:
      return format("%i", zelRead<std::int32_t>(filter.value));
    case kFlt1LongWord:
    case kFlt1Int32:
      return format("%li", static_cast<long>(zelRead<std::int32_t>(filter.value)));
    case kFlt1ULongWord:
    case kFlt1ULong:
      return format("%lu", static_cast<unsigned long>(zelRead<std::uint32_t>(filter.value)));
    case kFlt1Int16:
      // Without its sign: a negative value goes out as its unsigned counterpart.
      return format("%i", static_cast<int>(zelRead<std::uint16_t>(filter.value)));
    case kFlt1Float:
      return format("%g", static_cast<double>(zelRead<float>(filter.value)));
    case kFlt1Double:
    case kFlt1DoubleExtended:
      return format("%g", zelRead<double>(filter.value));
    case kFlt1Utf8:
    case kFlt1Utf8Null:
      return utf8ToDefault(filter);
    default:
      RAS1_PRINT("WARN: unsupported data type %i of column %s", type, filter.columnName);
      return {};
  }
}

}  // namespace

ZelColumnInfo::ZelColumnInfo() : ZelColumnInfo("", kIntfChars, 0, 0) {}

ZelColumnInfo::ZelColumnInfo(const std::string& columnName, IntfDtype type, int columnSize,
                             int columnOffset)
    : size(columnSize), offset(columnOffset), dataType(type), name(columnName) {}

ZelColumnInfo::~ZelColumnInfo() = default;

ZelFilterInfo::ZelFilterInfo() = default;

ZelFilterInfo::ZelFilterInfo(const FLT1_FILTERINFO& filter)
    : m_column(filter.columnName), m_oper(filter.compareOperator) {
  RAS1_FLOW();
  if (m_column == "PARMA" && filter.version == kFlt1Version3 &&
      isCharacterType(filter.extendedType)) {
    const std::string extension = bytesOf(filter.extendedData, filter.extendedLength);
    RAS1_DETAIL("FLT1_V3_FilterInfo.extData=<%s>", extension.c_str());
    m_column += "$" + extension;
  }
  RAS1_DETAIL(
      "columnName=<%s> dataType=<%i> dataSize<%u> compareOperator=<%i> logicalOperator=<%i>",
      filter.columnName, filter.dataType, static_cast<unsigned>(filter.dataSize),
      filter.compareOperator, filter.logicalOperator);
  RAS1_DUMP_IF(kRas1Detail, "Filter", filter.value, byteCount(filter.dataSize));
  m_value = render(filter);
  RAS1_DETAIL("m_column=<%s> m_value=<%s> m_oper=<%i>", m_column.c_str(), m_value.c_str(), m_oper);
}

ZelFilterInfo::~ZelFilterInfo() = default;
