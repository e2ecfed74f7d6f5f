// While an object lives, the whole test program has no memory for an INI document on the heap.
//
//     const RefusedDocuments none;
//     EXPECT_EQ(runVcPatch(...), 1);
#pragma once

class RefusedDocuments {
  public:
    RefusedDocuments();
    ~RefusedDocuments();
    RefusedDocuments(const RefusedDocuments&) = delete;
    RefusedDocuments& operator=(const RefusedDocuments&) = delete;
};
