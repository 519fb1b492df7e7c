// The whole interface of the library.
#pragma once

#include "base/clock.h"
#include "base/command_runner.h"
#include "base/environment.h"
#include "base/files.h"
#include "base/log.h"
#include "base/private_file.h"
#include "config/config.h"
#include "config/duration.h"
#include "config/load.h"
#include "events/build_event.h"
#include "events/event_envelope.h"
#include "events/parse_envelope.h"
#include "store/sqlite_store.h"
#include "store/sync_queue.h"
