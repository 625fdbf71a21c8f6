// A program that consists of libraries only; the source makes it one in C++.
