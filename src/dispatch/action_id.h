#pragma once

// The identifiers under which the six commands are declared to the host.
namespace tobrel::ActionID {

inline constexpr const char* keep = "com.qelmo.tobrel.keepDownloaded";
inline constexpr const char* unkeep = "com.qelmo.tobrel.dontKeepDownloaded";
inline constexpr const char* share = "com.qelmo.tobrel.share";
inline constexpr const char* shareWith = "com.qelmo.tobrel.shareWith";
inline constexpr const char* manage = "com.qelmo.tobrel.manageSharing";
inline constexpr const char* online = "com.qelmo.tobrel.viewOnline";

}  // namespace tobrel::ActionID
