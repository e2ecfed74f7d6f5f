/* What makes a test agent tick: every entry point reports its call here and gives back the answer.
 *
 * Beside the agent's library lie two files of its name:
 *   <library>.calls    written: one line "Name(arg, arg, ...)" for each call
 *   <library>.script   read anew at each call; may be missing. One rule a line:
 *
 *       Entry [condition] = value             answer this; for Get...Path: write this path
 *       Entry [condition] writes origin V B   write version V and build B (decimal or 0x...) into
 *       Entry [condition] writes result V B   the record that the call was given
 *       Entry [condition] waits FILE          go on when that file exists (at most 30 seconds)
 *       Entry [condition] kills               end the process by SIGKILL
 *       Entry [condition] raises SIGNAL       send TERM, INT or HUP to the process itself
 *       Entry [condition] throws              leave the entry point by an exception; behind a path
 *                                             that another rule writes if it stands behind that
 *
 *   A condition is `#n`, the n-th call of this entry point since the library was loaded, or a file
 *   pattern for the path (or the item's name) that the call was given; '*' matches '/' too. Without
 *   one the rule fits always. The first answer that fits counts; all other rules that fit are
 *   carried out in their order. Empty lines and lines that begin with ';' say nothing. A line that
 *   is none of these is reported in the calls as "bad rule: ...". */
#pragma once

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

struct tag_Version;

struct AgentCall {
    const char* entry;          /* name of the entry point */
    const char* subject;        /* what patterns look at; null when there is nothing */
    struct tag_Version* origin; /* what "writes" writes into; may be null */
    struct tag_Version* result;
    char* pathBuffer; /* takes the answer of Get...Path; null elsewhere */
};

/* Records the call with its arguments, obeys the script and returns its answer, or `fallback`. */
int32_t answerCall(const struct AgentCall* call, int32_t fallback, const char* format, ...)
    __attribute__((format(printf, 3, 4)));

/* The text, or "NULL". */
const char* textOrNull(const char* text);

/* "0x52000/7" (version, build) or "NULL", in the buffer. */
enum { AGENT_VERSION_TEXT = 32 };
const char* versionText(const struct tag_Version* version, char* buffer);

#ifdef __cplusplus
}
#endif
