#pragma once

namespace fw::http {

/// Return codes of the KDH1 operations.
enum Kdh1Code : int {
  kKdh1Ok = 0,
  kKdh1BadArgument = 0x7C4C0001,   ///< a pointer that must not be null is null
  kKdh1DeadHandle = 0x7C4C0002,    ///< no such service or request, or not any more
  kKdh1NotAvailable = 0x7C4C0003,  ///< this framework publishes no services of an agent
};

}  // namespace fw::http
