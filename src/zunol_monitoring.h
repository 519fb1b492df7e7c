// The whole interface of the library.
#pragma once

#include "base/clock.h"
#include "base/command_runner.h"
#include "base/environment.h"
#include "base/files.h"
