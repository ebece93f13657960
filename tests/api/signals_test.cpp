// The exception, and guards around calls that end in a signal.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cfenv>
#include <cstdio>

#include "tzexception.h"

namespace {

TEST(Exception, MessageTellsHowItWasMade) {
  const tzException fromText(tzString("bad value"));
  EXPECT_STREQ(fromText.msg(), "--RKD. Exception: bad value");
  EXPECT_STREQ(fromText.info(), "bad value");
  const tzException fromChars("Empty iterator definition");
  EXPECT_STREQ(fromChars.msg(), "--RKD. Signal: Empty iterator definition");
  EXPECT_STREQ(fromChars.info(), "");
  const tzException longText(tzString(std::string(1000, 'x')));
  EXPECT_EQ(std::string(longText.msg()).size(), 255u);
  EXPECT_EQ(std::string(longText.info()).size(), 1000u);
}

volatile int zero = 0;
volatile int sink = 0;
int* volatile nowhere = nullptr;

#ifdef __clang__
#define OWN_FAULT __attribute__((no_sanitize("address", "undefined")))
#else
#define OWN_FAULT __attribute__((no_sanitize("address", "undefined"), noipa))
#endif

OWN_FAULT void writeNowhere() { *nowhere = 1; }

OWN_FAULT void divideByZero() {
  int low = 1;
  int high = 0;
  asm volatile("idivl %2" : "+a"(low), "+d"(high) : "r"(zero));
}

OWN_FAULT void runIllegal() { asm volatile("ud2"); }

OWN_FAULT int recurse(int depth) {
  volatile unsigned char frame[4096] = {};
  frame[depth % 4096] = 1;
  const int deeper = zero == 0 ? recurse(depth + 1) : 0;
  return deeper + frame[0];
}

void overflowStack() { sink = recurse(0); }

void readBeyondFile() {
  std::FILE* const file = std::tmpfile();
  void* const page = mmap(nullptr, 4096, PROT_READ, MAP_SHARED, fileno(file), 0);
  std::fclose(file);
  sink = *static_cast<volatile unsigned char*>(page);
}

struct Fault {
  void (*function)();
  int code;
  const char* name;
  const char* info;
};

const Fault kFaults[] = {
    {writeNowhere, SIGSEGV, "SIGSEGV", "Illegal storage access."},
    {divideByZero, SIGFPE, "SIGFPE",
     "FP error, such as overflow, division by zero, invalid operation."},
    {runIllegal, SIGILL, "SIGILL", "Illegal instruction."},
    {readBeyondFile, SIGBUS, "SIGBUS",
     "Bus error, such as an access beyond the end of a mapped file."},
    {overflowStack, SIGSEGV, "SIGSEGV", "Illegal storage access."},
};

TEST(CallGuard, CatchesEveryFaultAgainAndAgain) {
  tzCallGuard guard;
  for (int round = 0; round < 3; ++round) {
    for (const Fault& fault : kFaults) {
      EXPECT_FALSE(guard.call(fault.function));
      EXPECT_EQ(guard.code(), fault.code);
      EXPECT_STREQ(guard.name(), fault.name);
      EXPECT_STREQ(guard.getInfo(), fault.info);
    }
    int done = 0;
    EXPECT_TRUE(guard.call([&done] { ++done; }));
    EXPECT_EQ(done, 1);
    EXPECT_EQ(guard.code(), 0);
    EXPECT_STREQ(guard.name(), "");
    EXPECT_STREQ(guard.getInfo(), "Unknown exception");
  }
}

void (*handlerOf(int code))(int) {
  struct sigaction action {};
  sigaction(code, nullptr, &action);
  return action.sa_handler;
}

TEST(CallGuard, LeavesHandlersMaskStackAndRoundingAsTheyWere) {
  sigset_t before;
  sigset_t after;
  stack_t stackBefore{};
  stack_t stackAfter{};
  sigprocmask(SIG_BLOCK, nullptr, &before);
  sigaltstack(nullptr, &stackBefore);
  const auto handler = handlerOf(SIGSEGV);
  std::fesetround(FE_UPWARD);
  {
    tzCallGuard guard;
    EXPECT_FALSE(guard.call(overflowStack));
    EXPECT_EQ(std::fegetround(), FE_UPWARD);
    sigprocmask(SIG_BLOCK, nullptr, &after);
    EXPECT_EQ(sigismember(&before, SIGSEGV), sigismember(&after, SIGSEGV));
  }
  std::fesetround(FE_TONEAREST);
  sigaltstack(nullptr, &stackAfter);
  EXPECT_EQ(handlerOf(SIGSEGV), handler);
  EXPECT_EQ(stackBefore.ss_sp, stackAfter.ss_sp);
  EXPECT_EQ(stackBefore.ss_flags, stackAfter.ss_flags);
}

TEST(CallGuard, TheInnermostGuardCatchesAndTheOuterGoesOn) {
  tzCallGuard outer;
  tzCallGuard inner;
  EXPECT_FALSE(outer.call([&inner] {
    EXPECT_FALSE(inner.call(runIllegal));
    writeNowhere();
  }));
  EXPECT_EQ(inner.code(), SIGILL);
  EXPECT_EQ(outer.code(), SIGSEGV);
}

TEST(CallGuard, AnExceptionPassesAndDisarms) {
  tzCallGuard guard;
  EXPECT_THROW(guard.call([] { throw tzException("seen"); }), tzException);
  EXPECT_EQ(guard.code(), 0);
  EXPECT_DEATH(raise(SIGFPE), "");
}

TEST(CallGuard, WithoutACallTheSignalTakesItsFormerWay) {
  static volatile std::sig_atomic_t seen = 0;
  const auto before = std::signal(SIGFPE, [](int code) { seen = code; });
  {
    tzCallGuard guard;
    raise(SIGFPE);
  }
  std::signal(SIGFPE, before);
  EXPECT_EQ(seen, SIGFPE);
}

TEST(Signal, JumpsToTheFrameThatArmedIt) {
  tsSignal guard;
  volatile bool armed = false;
  if (sigsetjmp(guard.jumpPoint(), 1) == 0) {
    armed = true;
    raise(SIGILL);
    FAIL() << "the signal did not jump";
  }
  EXPECT_TRUE(armed);
  EXPECT_EQ(guard.code(), SIGILL);
  EXPECT_STREQ(guard.getInfo(), "Illegal instruction.");
}

TEST(Signal, DoesNotTouchBusErrors) {
  const auto before = handlerOf(SIGBUS);
  const tsSignal guard;
  EXPECT_EQ(handlerOf(SIGBUS), before);
  EXPECT_NE(handlerOf(SIGSEGV), before);
}

}  // namespace
