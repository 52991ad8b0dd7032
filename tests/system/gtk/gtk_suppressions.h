#pragma once

/// The case will have a call of the toolkit abandoned in its middle. What that call held is lost,
/// so leaks are not judged when this process ends.
void ExpectAbandonedCall();
