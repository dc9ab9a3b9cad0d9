#pragma once

#include "demo/LoopbackServer.h"

class DemoCatalogue;

// What the demo's servers say to a request, from the request and the catalogue alone. Any thread.

/// "/versions", "/medias", "/firmware-version", "/image-version", "/shop" and what is below it;
/// else 404.
[[nodiscard]] DemoAnswer mediaAnswer(const DemoCatalogue &catalogue, const DemoRequest &request);

/// "/files/PUBLISHER/MID/...", "/software/..." and "/video.mp4"; else 404.
[[nodiscard]] DemoAnswer fileAnswer(const DemoCatalogue &catalogue, const DemoRequest &request);
