// The Cg runtime: contexts, programs and their parameters.
//
// Programs are compiled from source text to OpenGL's shading language. A failed call sets the error, which
// stays until it is asked for, changes nothing unless it says so, and returns null or 0 where it returns
// something. Handles are checked: one that is null, or whose object is gone, is an error and nothing worse.
// All calls come from one thread. Texts that are handed over are borrowed for the call.
//
// The language is a subset: functions that return nothing; the types bool, int, float, float1 to float4,
// float4x4 and sampler2D; declarations, with brace initialisers for vectors; assignments, `if`, `return`;
// arithmetic, comparison and logic; components and constructors; tex2D, mul, dot, saturate, trunc. A
// parameter of the entry point is `in` (the default) or `out` with one of the semantics POSITION, TEXCOORD0
// to TEXCOORD7 and COLOR; or it is `uniform` and a float, a sampler2D or a float4x4 with the semantic
// state.matrix.mvp. Whatever else a source holds is a compile error.
#pragma once

#include "Cg/cgExport.h"

/// A truth value: 0 is false, 1 is true.
using CGbool = int;
/// Programs that belong together; null is none.
using CGcontext = struct CGcontextRecord*;
/// A program, which belongs to its context; null is none.
using CGprogram = struct CGprogramRecord*;
/// A parameter, which belongs to its program and goes with it; null is none.
using CGparameter = struct CGparameterRecord*;

/// What went wrong. The module asks whether it is CG_NO_ERROR, and shows the text of everything else.
enum CGerror : int {
  CG_NO_ERROR = 0,                  ///< nothing since the error was last asked for
  CG_COMPILER_ERROR,                ///< the source is not of the language, or an option is not supported
  CG_INVALID_PARAMETER_ERROR,       ///< the parameter's type does not fit the call
  CG_PROGRAM_LOAD_ERROR,            ///< the driver refuses the program
  CG_PROGRAM_BIND_ERROR,            ///< the driver cannot link the programs that are to be used together
  CG_PROGRAM_NOT_LOADED_ERROR,      ///< a program is bound before it is loaded
  CG_INVALID_ENUMERANT_ERROR,       ///< an argument is none of its enumeration
  CG_INVALID_POINTER_ERROR,         ///< a text is null
  CG_INVALID_CONTEXT_HANDLE_ERROR,  ///< null, or no longer there
  CG_INVALID_PROGRAM_HANDLE_ERROR,  ///< the same of a program
  CG_INVALID_PARAM_HANDLE_ERROR,    ///< the same of a parameter
  CG_UNKNOWN_PROFILE_ERROR,         ///< neither of the two profiles
};

/// In which form a program is handed over.
enum CGenum : int {
  CG_SOURCE = 4112,  ///< the program is source text
};

/// What programs are compiled for.
enum CGprofile : int {
  CG_PROFILE_UNKNOWN,  ///< for nothing: no function takes it
  CG_PROFILE_GLSLV,    ///< vertex programs as OpenGL shading language
  CG_PROFILE_GLSLF,    ///< fragment programs as OpenGL shading language
};

extern "C" {

/// Returns the error since the last time it was asked for, and clears it.
CG_API CGerror cgGetError();
/// Returns what happened at the last error, and stores and clears the error as `cgGetError` does; `error` may
/// be null. A compile error is told as "line N: reason". Valid until the next error; never null.
CG_API const char* cgGetLastErrorString(CGerror* error);

/// Returns a new context, which the caller releases with `cgDestroyContext`. Needs no OpenGL.
CG_API CGcontext cgCreateContext();
/// Destroys a context with its programs, as `cgDestroyProgram` does each.
CG_API void cgDestroyContext(CGcontext context);
/// Whether this is a context that is there; never an error.
CG_API CGbool cgIsContext(CGcontext context);

/// Compiles the function `entry` of the source text `program`; `type` is CG_SOURCE, and `arguments`, options
/// of the compiler ended by null, must be null or empty. The context owns the program. Needs no OpenGL.
/// Returns null, with the error set, when the source does not compile.
CG_API CGprogram cgCreateProgram(CGcontext context, CGenum type, const char* program, CGprofile profile,
                                 const char* entry, const char** arguments);
/// Destroys a program and its parameters. What it has in OpenGL is taken out of use and deleted when the
/// context of OpenGL that it was loaded in, or one that shares with it, is current, and left there otherwise.
CG_API void cgDestroyProgram(CGprogram program);
/// Whether this is a program that is there; never an error.
CG_API CGbool cgIsProgram(CGprogram program);

/// Returns a parameter of the entry point, borrowed from the program, also one that the program does not use.
/// Null without an error when there is none of the name.
CG_API CGparameter cgGetNamedParameter(CGprogram program, const char* name);
/// Whether the program uses the parameter.
CG_API CGbool cgIsParameterReferenced(CGparameter parameter);
}
