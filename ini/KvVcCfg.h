// KvVcCfg: three switches of the updater's own configuration file, "vccfg.ini" in the velocore
// directory. The file is read once, by the constructor, and never written.
//
// A switch is on when its value, trimmed, is exactly "1": "01", "true" and "yes" are off, and so is
// a missing key. Section and key names match without regard to case.
#pragma once

class KvVcCfg {
  public:
    // All off, no file read.
    KvVcCfg() = default;

    // Reads "vccfg.ini" in `directory`. All off when the file is missing or unreadable, when its
    // name exceeds kPathCapacity, and for null.
    explicit KvVcCfg(const char* directory);

    // Section "common": the working files (the log and the data kept with it) lie in the velocore
    // directory itself instead of in "VC_Data" below it.
    [[nodiscard]] bool UseOldDirOrganization() const { return useOldDirOrganization_; }

    // Before the first header: always give the patch agent a copy of its own.
    [[nodiscard]] bool UseForceDuplicatePatchagent() const { return forceDuplicatePatchagent_; }

    // Section "Downloader": downloaded files stay in the cache after a successful update.
    [[nodiscard]] bool KeepCacheOptimize() const { return keepCacheOptimize_; }

  private:
    bool useOldDirOrganization_ = false;
    bool forceDuplicatePatchagent_ = false;
    bool keepCacheOptimize_ = false;
};
