#pragma once
#include <GenApi/Log.h>
