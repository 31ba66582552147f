// What a source says, as a tree.
#pragma once

#include <string>
#include <vector>

#include "cg/internal/Type.h"

namespace cg {

struct Expression {
  enum class Kind {
    kBool,
    kInteger,
    kFloat,
    kName,
    kMember,  ///< components of the child
    kCall,    ///< a function or a type, applied to the children
    kUnary,
    kBinary,
    kList,  ///< values in braces
  };
  Kind kind = Kind::kName;
  int line = 0;
  std::string text;  ///< the literal, name, components or operator
  std::vector<Expression> children;
  int depth = 1;  ///< of the tree
};

struct Statement {
  enum class Kind {
    kBlock,
    kDeclaration,  ///< of `text`, with an initialiser or without
    kAssignment,   ///< `text` is the operator; target, value
    kIf,           ///< a condition and one or two children
    kReturn,
  };
  Kind kind = Kind::kBlock;
  int line = 0;
  std::string text;
  Type type;
  std::vector<Expression> expressions;
  std::vector<Statement> children;
};

struct Parameter {
  std::string name;
  int line = 0;
  Type type;
  bool isUniform = false;
  bool isOut = false;
  std::string semantic;  ///< empty when there is none
};

struct Function {
  std::string name;
  int line = 0;
  std::vector<Parameter> parameters;
  Statement body;
};

}  // namespace cg
