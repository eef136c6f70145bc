#pragma once

/// @file
/// The numbers of the message protocol: codes of messages, and keys of the maps that they are made
/// of. The Java side has the same names and numbers (`RequestCode`, `NotificationCode`, `Keys`); a
/// test holds the two together.

/// Codes of what the Java application is asked or told.
namespace ZelRequestCode {
inline constexpr int kInit = 0;
inline constexpr int kStart = 1;  ///< one way
inline constexpr int kTakeSample = 2;
inline constexpr int kTakeAction = 3;
inline constexpr int kShutdown = 4;
inline constexpr int kWebService = 5;
inline constexpr int kSituation = 6;
inline constexpr int kSituationStateChanged = 7;  ///< one way
}  // namespace ZelRequestCode

/// Codes of what the Java application tells.
namespace ZelNotificationCode {
inline constexpr int kSubnodeRegistered = 10;
inline constexpr int kSubnodeDeregistered = 11;
inline constexpr int kEvents = 13;  ///< rows of a table that nobody asked for
inline constexpr int kSubnodeConnected = 14;
inline constexpr int kSubnodeDisconnected = 15;
inline constexpr int kShutdown = 16;
}  // namespace ZelNotificationCode

/// Every message. There is no key 2.
namespace ZelKey::Envelope {
inline constexpr int kType = 0;
inline constexpr int kId = 1;
inline constexpr int kBody = 3;    ///< only when there is a body
inline constexpr int kHandle = 4;  ///< address of the waiting request or 0; not in notifications
}  // namespace ZelKey::Envelope

/// Body of an exception.
namespace ZelKey::Failure {
inline constexpr int kSeverity = 0;
inline constexpr int kMessage = 1;
}  // namespace ZelKey::Failure

/// Body of the init request.
namespace ZelKey::Init {
inline constexpr int kProductCode = 0;
inline constexpr int kFlag = 2;  ///< always false; the Java side does not read it
inline constexpr int kInstance = 3;
inline constexpr int kHostName = 5;
}  // namespace ZelKey::Init

namespace ZelKey::InitReply {
inline constexpr int kToolkit = 1;
inline constexpr int kVersionAffinity = 4;
inline constexpr int kHostName = 5;
inline constexpr int kAgentAffinity = 6;
inline constexpr int kTables = 8;
}  // namespace ZelKey::InitReply

/// One table in the reply to the init request.
namespace ZelKey::Table {
inline constexpr int kName = 7;
inline constexpr int kColumns = 9;
inline constexpr int kSituationTrap = 15;
}  // namespace ZelKey::Table

/// One column of a table in the reply to the init request.
namespace ZelKey::TableColumn {
inline constexpr int kName = 10;
inline constexpr int kType = 11;
inline constexpr int kSize = 12;
inline constexpr int kOffset = 13;
}  // namespace ZelKey::TableColumn

/// Body of the sample request.
namespace ZelKey::Sample {
inline constexpr int kTable = 0;
inline constexpr int kFilters = 1;
inline constexpr int kSubnodes = 5;
inline constexpr int kHistory = 6;
inline constexpr int kAutomation = 7;
inline constexpr int kSituation = 8;
}  // namespace ZelKey::Sample

/// One filter of a sample request.
namespace ZelKey::SampleFilter {
inline constexpr int kColumn = 2;
inline constexpr int kValue = 3;
}  // namespace ZelKey::SampleFilter

namespace ZelKey::SampleReply {
inline constexpr int kRows = 4;
inline constexpr int kCacheSeconds = 10;
}  // namespace ZelKey::SampleReply

/// Body of the situation request: that of a sample request, and more.
namespace ZelKey::Situation {
using namespace Sample;
inline constexpr int kInterval = 9;  ///< seconds
inline constexpr int kStart = 10;
}  // namespace ZelKey::Situation

/// One filter of a situation request. It has its operator, because the Java application decides it;
/// the rows of samples are filtered again here.
namespace ZelKey::SituationFilter {
using namespace SampleFilter;
inline constexpr int kOperator = 11;
}  // namespace ZelKey::SituationFilter

namespace ZelKey::SituationReply {
inline constexpr int kRows = 4;
}  // namespace ZelKey::SituationReply

/// Body of the notification that a situation has started or stopped.
namespace ZelKey::SituationState {
inline constexpr int kSituation = 0;
inline constexpr int kTable = 1;
inline constexpr int kStarted = 2;  ///< an int, although the other two flags are booleans
inline constexpr int kInterval = 3;
inline constexpr int kHistory = 4;
inline constexpr int kAutomation = 5;
}  // namespace ZelKey::SituationState

/// Body of the take-action request.
namespace ZelKey::Action {
inline constexpr int kNode = 0;
inline constexpr int kCommand = 1;
}  // namespace ZelKey::Action

namespace ZelKey::ActionReply {
inline constexpr int kCode = 2;
inline constexpr int kMessage = 3;
}  // namespace ZelKey::ActionReply

/// Body of the web service request.
namespace ZelKey::Web {
inline constexpr int kPath = 0;
inline constexpr int kContent = 1;  ///< the query of a GET, the content of a POST
inline constexpr int kLanguage = 2;
}  // namespace ZelKey::Web

namespace ZelKey::WebReply {
inline constexpr int kCode = 7;
inline constexpr int kMedia = 8;
inline constexpr int kContent = 9;
}  // namespace ZelKey::WebReply

/// Body of the notification that an event table has rows.
namespace ZelKey::Events {
inline constexpr int kTable = 0;
inline constexpr int kRows = 1;
}  // namespace ZelKey::Events

/// Body of the notification that a subnode has appeared.
namespace ZelKey::SubnodeRegistered {
inline constexpr int kName = 0;
inline constexpr int kAffinity = 1;
inline constexpr int kInfo = 2;
inline constexpr int kInfoSuffix = 3;
}  // namespace ZelKey::SubnodeRegistered

/// Body of the notification that a subnode is gone.
namespace ZelKey::SubnodeDeregistered {
inline constexpr int kName = 0;
}  // namespace ZelKey::SubnodeDeregistered

/// Body of the notifications that a subnode is connected and disconnected.
namespace ZelKey::SubnodeConnection {
inline constexpr int kName = 0;
}  // namespace ZelKey::SubnodeConnection
