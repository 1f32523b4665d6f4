#pragma once

// Gives this process a root folder of its own: the machine's, and an empty "/Applications" that nobody else sees. The
// folder is fixed in the product and belongs to no temporary folder. Call it first in main, before there is a second
// thread. False where the kernel lets this process have no mounts of its own, as in some containers.
bool enterPrivateRoot();
