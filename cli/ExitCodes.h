#pragma once

inline constexpr int kExitOk = 0;
// Some subject was not written.
inline constexpr int kExitSomeFailed = 1;
// A usage error, or a white card that can't serve.
inline constexpr int kExitUnusable = 2;
