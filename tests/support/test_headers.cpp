// Holds the headers that the tests share, precompiled.
