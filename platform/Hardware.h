#pragma once

class CentralManager;
class VolumeSource;

/// What the program meets the pen by, each chosen once at start-up.
struct Hardware
{
    VolumeSource &volumes;
    CentralManager &radio;
};
