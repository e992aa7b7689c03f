#ifndef HOST_MARROWBY_STANDARDDESCRIPTORS_H
#define HOST_MARROWBY_STANDARDDESCRIPTORS_H

/// Makes sure that standard input, output and error are open: a socket that got the number of a closed one would
/// receive what is printed. Whatever was closed fails as before when it is used. Call it before anything else is
/// opened. Ends the process with exit status 1 when it is not possible.
void holdStandardDescriptors();

#endif
