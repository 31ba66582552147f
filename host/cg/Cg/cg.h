// The Cg runtime: contexts, programs and their parameters.
//
// Programs are compiled from source text to OpenGL's shading language. A failed call sets the error, which
// stays until it is asked for. Handles are checked: one that is null, or whose object is gone, is an error
// and nothing worse. All calls come from one thread.
//
// The language is a subset: functions that return nothing; the types bool, int, float, float1 to float4,
// float4x4 and sampler2D; declarations, with brace initialisers for vectors; assignments, `if`, `return`;
// arithmetic, comparison and logic; components and constructors; tex2D, mul, dot, saturate, trunc. A
// parameter of the entry point is `in` (the default) or `out` with one of the semantics POSITION, TEXCOORD0
// to TEXCOORD7 and COLOR; or it is `uniform` and a float, a sampler2D or a float4x4 with the semantic
// state.matrix.mvp. Whatever else a source holds is a compile error.
#pragma once

#include "Cg/cgExport.h"

using CGbool = int;
using CGcontext = struct CGcontextRecord*;
using CGprogram = struct CGprogramRecord*;
using CGparameter = struct CGparameterRecord*;

enum CGerror : int {
  CG_NO_ERROR = 0,
  CG_COMPILER_ERROR,
  CG_INVALID_PARAMETER_ERROR,       ///< the parameter's type does not fit the call
  CG_PROGRAM_LOAD_ERROR,            ///< the driver refuses the program
  CG_PROGRAM_BIND_ERROR,            ///< the driver cannot link the programs that are to be used together
  CG_PROGRAM_NOT_LOADED_ERROR,      ///< a program is bound before it is loaded
  CG_INVALID_ENUMERANT_ERROR,       ///< an argument is none of its enumeration
  CG_INVALID_POINTER_ERROR,         ///< a text is null
  CG_INVALID_CONTEXT_HANDLE_ERROR,  ///< null, or no longer there
  CG_INVALID_PROGRAM_HANDLE_ERROR,
  CG_INVALID_PARAM_HANDLE_ERROR,
  CG_UNKNOWN_PROFILE_ERROR,
};

enum CGenum : int {
  CG_SOURCE = 4112,  ///< the program is source text
};

enum CGprofile : int {
  CG_PROFILE_UNKNOWN,
  CG_PROFILE_GLSLV,  ///< vertex programs as OpenGL shading language
  CG_PROFILE_GLSLF,  ///< fragment programs
};

extern "C" {

/// Returns the error since the last time it was asked for, and clears it.
CG_API CGerror cgGetError();
/// Returns what happened at the last error, and stores and clears the error as `cgGetError` does; `error` may
/// be null. A compile error is told as "line N: reason". Valid until the next error; never null.
CG_API const char* cgGetLastErrorString(CGerror* error);

/// Returns a new context, which the caller releases with `cgDestroyContext`.
CG_API CGcontext cgCreateContext();
/// Destroys a context with its programs.
CG_API void cgDestroyContext(CGcontext context);
/// Whether this is a context that is there.
CG_API CGbool cgIsContext(CGcontext context);

/// Compiles the function `entry` of the source text `program`; `type` is CG_SOURCE, and `arguments`, options
/// of the compiler ended by null, must be null or empty. The context owns the program. Needs no OpenGL.
/// Returns null, with the error set, when the source does not compile.
CG_API CGprogram cgCreateProgram(CGcontext context, CGenum type, const char* program, CGprofile profile,
                                 const char* entry, const char** arguments);
/// Destroys a program, its parameters and what it has in OpenGL; its context should be current.
CG_API void cgDestroyProgram(CGprogram program);
/// Whether this is a program that is there.
CG_API CGbool cgIsProgram(CGprogram program);

/// Returns a parameter of the entry point, borrowed from the program, also one that the program does not use.
/// Null without an error when there is none of the name.
CG_API CGparameter cgGetNamedParameter(CGprogram program, const char* name);
/// Whether the program uses the parameter.
CG_API CGbool cgIsParameterReferenced(CGparameter parameter);
}
