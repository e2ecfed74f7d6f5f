// Sets the process-wide code page for as long as the object lives.
#pragma once

#include "base/KvText.h"

class CodePage {
  public:
    explicit CodePage(unsigned int codePage) : before_(GetCurrentCharType()) {
        SetCurrentCharType(codePage);
    }
    ~CodePage() { SetCurrentCharType(before_); }
    CodePage(const CodePage&) = delete;
    CodePage& operator=(const CodePage&) = delete;

  private:
    unsigned int before_;
};
