// Lets compilers check the arguments of printf-style functions; those that cannot see nothing.
#pragma once

// Names the parameter with the format, and the first that it formats; 0 for a std::va_list.
// Parameters count from 1, a member function's object being the first.
#if defined(__MINGW32__)
// The system's own printf knows other letters than the standard's, which is what we use.
#define VORN_PRINTF(text, arguments) __attribute__((format(gnu_printf, text, arguments)))
#elif defined(__GNUC__)
#define VORN_PRINTF(text, arguments) __attribute__((format(printf, text, arguments)))
#else
#define VORN_PRINTF(text, arguments)
#endif
