#pragma once

// The report capture lives with the other helpers of the suite.
#include "TestSupport.h"
