// KvVcUpdater: what a run does. Its sequence, paths and status codes; the actions with their item
// and file steps; rollback, automatic rollback and clean-up; the result file.
#pragma once

#include "updater/KvAutoRollback.h"
#include "updater/KvCleanup.h"
#include "updater/KvFileStep.h"
#include "updater/KvItemStep.h"
#include "updater/KvRebootList.h"
#include "updater/KvResultFile.h"
#include "updater/KvRollbackAction.h"
#include "updater/KvRollbackItem.h"
#include "updater/KvRunPaths.h"
#include "updater/KvRunStatus.h"
#include "updater/KvUpdateAction.h"
#include "updater/KvVcRun.h"
