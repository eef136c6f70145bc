#pragma once

namespace fw {

/// Return codes of the framework's operations towards the agent (tables, requests, remote-agent
/// interface). Traces of the agent show them as "(rc %i)".
enum Rc : int {
  kRcOk = 0,
  kRcBadArgument =
      0x46570001,  ///< a null pointer, an empty or too long text, a number out of range
  kRcUnknownProduct = 0x46570002,  ///< not the product of the configuration
  kRcUnknownNode = 0x46570003,     ///< no such subnode is registered
  kRcDuplicate = 0x46570004,       ///< a table of that name is already registered
  kRcRowLimit = 0x46570005,        ///< the sample holds as many rows as it may
  kRcNoRowSize = 0x46570006,       ///< the request object has not set its row size
  kRcNoMemory = 0x46570007,        ///< the row buffer could not grow
  kRcNoColumn = 0x46570008,        ///< no such column
  kRcBadHandle = 0x46570009,       ///< unknown or dead handle
  kRcNotAvailable = 0x4657000A,    ///< this framework does not offer the operation on this object
  kRcStopping = 0x4657000B,        ///< the main loop is ending
  kRcLimit = 0x4657000C,           ///< as many tables or subnodes as the configuration allows
  kRcNoLoader = 0x4657000D,        ///< no agent loader was registered
  kRcLoaderFailed = 0x4657000E,    ///< the agent loader returned an error
  kRcServiceFailed = 0x4657000F,   ///< HTTP could not start
  kRcBusy = 0x46570010,            ///< the main loop is already running
};

}  // namespace fw
