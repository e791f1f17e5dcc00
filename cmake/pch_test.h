// What every test includes, compiled once for all test binaries.
#pragma once

#include "pch_std.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
