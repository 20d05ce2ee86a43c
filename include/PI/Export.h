#pragma once

// Marks the public interface of the PI library; everything else is hidden.
#define PI_API __attribute__((visibility("default")))
