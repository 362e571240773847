// How densely a test walks a domain that it could walk whole.
#pragma once

namespace test {

/// 1: every value. Every 7th along one axis under a sanitizer, which makes each step many times
/// slower (what it looks for does not depend on the values), and in a build without optimisation.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || !defined(__OPTIMIZE__)
inline constexpr int kDomainStep = 7;
#else
inline constexpr int kDomainStep = 1;
#endif

}  // namespace test
