#pragma once

#include "app/FlowController.h"

class VolumeSource;

/// Hears of the program's life and hands over to the flow of its windows.
class AppDelegate
{
public:
    explicit AppDelegate(VolumeSource &volumes);

    void applicationDidFinishLaunching();

    FlowController flowConroller;
};
