// What signals, and descriptors that the caller has closed, may do to a run.
//
//   SIGPIPE, SIGXFSZ            never end the process: the write that met them fails instead
//   SIGTERM, SIGINT, SIGHUP     before the first word to the agent: end the process, as usual
//                               from there until the last file is decided: the user's cancel
//                               from there until the run is over: nothing
//
// Handlers are used, never masks and never "ignore": nothing is blocked while the agent is called,
// and a program that the agent starts gets all of them as this process was given them. A signal
// that the caller has set to be ignored stays ignored. No system call is interrupted.
#pragma once

// Stands around the whole run, one at a time. Also opens those of the descriptors 0 to 2 that are
// closed on the null device, so that no file of the run gets one of these numbers and with it what
// is printed. At its end all signals are what they were before.
class SignalScope {
  public:
    SignalScope();
    ~SignalScope();
    SignalScope(const SignalScope&) = delete;
    SignalScope& operator=(const SignalScope&) = delete;
};

// To be called before the first word to the agent: from here to the end of the SignalScope a signal
// that asks the process to end is only remembered. Without a SignalScope nothing changes.
void listenForCancel();

// Whether such a signal has come: asked before each file, and the run stops there. Later nobody
// asks, and the signal changes nothing.
[[nodiscard]] bool isCancelled();
