#pragma once

/// Affinities that the agent and each of its subnodes have, besides those of the application.
namespace ZelAffinity {
inline constexpr const char* kInternationalization = "AFF_FEAT_INTERNATIONALIZATION";
inline constexpr const char* kDmParity = "AFF_FEAT_DM_PARITY";
}  // namespace ZelAffinity
