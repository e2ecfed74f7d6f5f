// Makes the listener lists of the publisher and the event manager before any code that logs.
//
// Every header with which code reports, listens or sets up the log includes this one, so every such
// source begins with an object of this class, made before the source's own static objects. The
// first of them, whichever file the linker put first, makes the four lists and then the manager; at
// exit the manager goes first, then the lists, both after the static objects of all these sources.
// So nothing depends on the order of files or libraries, a program that links the library gets its
// manager without naming it, and static constructors and destructors may log.
#pragma once

class KvLogStartup {
  public:
    KvLogStartup();
};

static const KvLogStartup s_kvLogStartup;
