#include <gtest/gtest.h>

#include "CompressedStream.h"
