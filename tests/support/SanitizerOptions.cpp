// Lets a test ask for more memory than there is: without this AddressSanitizer ends the process
// where malloc would answer null. Without the sanitizer nobody calls it.
extern "C" const char* __asan_default_options() {
    return "allocator_may_return_null=1";
}
