#pragma once

namespace fw::http {

/// Return codes of the KDH1 operations.
enum Kdh1Code : int {
  kKdh1Ok = 0,
  kKdh1BadArgument = 0x7C4C0001,       ///< null where it must not be, or a name that can't be used
  kKdh1DeadHandle = 0x7C4C0002,        ///< no such service or request, or no longer
  kKdh1NotAvailable = 0x7C4C0003,      ///< the agent is stopping: there are no more services
  kKdh1NameTaken = 0x7C4C0004,         ///< another service has this name
  kKdh1TooManyServices = 0x7C4C0005,   ///< ServiceRegistry::kMaxServices exist
  kKdh1OutOfOrder = 0x7C4C0006,        ///< not now: before what must come first, or a second time
  kKdh1PastEnd = 0x7C4C0007,           ///< more bytes than the content has, or was announced with
  kKdh1ResponseTooLarge = 0x7C4C0008,  ///< more bytes than services.response_limit
  kKdh1OutOfMemory = 0x7C4C0009,
};

}  // namespace fw::http
