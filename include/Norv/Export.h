// Marks what the shared library exports; everything else is built with hidden visibility.

#pragma once

#define NORV_EXPORT __attribute__((visibility("default")))
