#include "platform/CoreImage/CIKernel.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "platform/CoreFoundation/CoreFoundation.h"
#include "platform/Foundation/Foundation.h"
#include "platform/Foundation/Text.h"

namespace {

using lumivane::foundation::Utf8;
using namespace std::string_literals;
using testing::HasSubstr;

NSArray* Compile(const std::string& source, CIKernelError* error = nullptr) {
  NSString* const text = NSAutorelease(lumivane::foundation::CreateString(source));
  return CIKernel::kernelsWithStringerror(text, error);
}

CIKernel* At(NSArray* kernels, CFIndex index) {
  return dynamic_cast<CIKernel*>(NSObjectFrom(CFArrayGetValueAtIndex(kernels, index)));
}

/// A kernel around statements.
std::string InKernel(const std::string& body) {
  return "kernel vec4 k(sampler src, __color c, float x, vec2 p) {\n" + body +
         "\nreturn vec4(0.0); }";
}

void ExpectValid(const std::string& source) {
  const NSAutoreleasePool pool;
  CIKernelError error;
  EXPECT_NE(Compile(source, &error), nullptr)
      << source << "\nline " << error.line << ": " << error.message;
  EXPECT_EQ(error.line, 0);
  EXPECT_EQ(error.message, "");
}

void ExpectInvalid(const std::string& source, int line, const std::string& message) {
  const NSAutoreleasePool pool;
  CIKernelError error;
  EXPECT_EQ(Compile(source, &error), nullptr) << source;
  EXPECT_EQ(error.line, line) << source << "\n" << error.message;
  EXPECT_THAT(error.message, HasSubstr(message)) << source;
}

TEST(CIKernel, NamesKernelsAndTheirArguments) {
  const NSAutoreleasePool pool;
  NSArray* const kernels = Compile(
      "// Two kernels and what they share.\n"
      "vec4 half4(vec4 v) { return v * 0.5; }\n"
      "kernel vec4 dim(sampler src, __color tint, float amount)\n"
      "{ vec4 p = sample(src, samplerCoord(src)); return mix(half4(p), tint, amount); }\n"
      "kernel vec4 lookUp(__table sampler table, vec2 a, vec3 b, vec4 c, int i, bool on)\n"
      "{ return sample(table, a) * c; }\n");
  ASSERT_NE(kernels, nullptr);
  ASSERT_EQ(CFArrayGetCount(kernels), 2);
  CIKernel* const dim = At(kernels, 0);
  ASSERT_NE(dim, nullptr);
  EXPECT_EQ(Utf8(dim->name()), "dim");
  EXPECT_EQ(dim->resultType(), CIKernelType::kVec4);
  ASSERT_EQ(dim->arguments().size(), 3u);
  EXPECT_EQ(dim->arguments()[0].name, "src");
  EXPECT_EQ(dim->arguments()[0].type, CIKernelType::kSampler);
  EXPECT_FALSE(dim->arguments()[0].isTable);
  EXPECT_EQ(dim->arguments()[1].name, "tint");
  EXPECT_EQ(dim->arguments()[1].type, CIKernelType::kColor);
  EXPECT_EQ(dim->arguments()[2].type, CIKernelType::kFloat);
  CIKernel* const lookUp = At(kernels, 1);
  EXPECT_EQ(Utf8(lookUp->name()), "lookUp");
  ASSERT_EQ(lookUp->arguments().size(), 6u);
  EXPECT_TRUE(lookUp->arguments()[0].isTable);
  EXPECT_EQ(std::string(CIKernelTypeName(lookUp->arguments()[4].type)), "int");
  EXPECT_EQ(std::string(CIKernelTypeName(lookUp->arguments()[5].type)), "bool");
}

TEST(CIKernel, KernelsBelongToTheirArray) {
  CIKernel* kernel = nullptr;
  {
    const NSAutoreleasePool pool;
    kernel = At(Compile("kernel vec4 k() { return vec4(1.0); }"), 0);
    kernel->retain();
  }
  EXPECT_EQ(kernel->retainCount(), 1u);
  EXPECT_EQ(Utf8(kernel->name()), "k");
  kernel->release();
}

TEST(CIKernel, NoSourceIsNoKernel) {
  CIKernelError error;
  EXPECT_EQ(CIKernel::kernelsWithString(nullptr), nullptr);
  EXPECT_EQ(CIKernel::kernelsWithStringerror(nullptr, &error), nullptr);
  EXPECT_NE(error.message, "");
  ExpectInvalid("", 1, "no kernel");
  ExpectInvalid("\n\n// nothing\n", 4, "no kernel");
  ExpectInvalid("float f() { return 1.0; }", 1, "no kernel");
}

TEST(CIKernel, AcceptsTheLanguage) {
  ExpectValid("kernel vec4 k() { return vec4(destCoord(), 0.0, 1.0); }");
  ExpectValid("kernel vec4 k(void) { return vec4(1); };");
  ExpectValid(
      "const float pi = 3.14159, two = 2.0 * pi;\n"
      "kernel vec4 k() { const float four = two * 2.0; return vec4(four); }");
  ExpectValid(
      "float f(float a);\nkernel vec4 k() { return vec4(f(1.0)); }\n"
      "float f(float a) { return a; }");
  ExpectValid(
      "float f(float a) { return a; }\nfloat f(vec2 a) { return a.x; }\n"
      "kernel vec4 k() { return vec4(f(1.0) + f(vec2(1.0))); }");
  ExpectValid(
      "void split(vec2 v, out float x, inout float y) { x = v.x; y += v.y; }\n"
      "kernel vec4 k() { float x, y = 0.0; split(vec2(1.0), x, y); return vec4(x, y, x, y); }");
  ExpectValid(
      "vec4 at(sampler s, vec2 d) { return sample(s, samplerTransform(s, d)); }\n"
      "kernel vec4 k(sampler s) { return at(s, destCoord()); }");
  ExpectValid(
      "vec4 tinted(__color c) { return c; }\n"
      "kernel vec4 k(__color c) { c.a = 1.0; c *= 2.0; return tinted(c); }");
}

TEST(CIKernel, AcceptsStatements) {
  for (const char* const body : {
           ";",
           "if (x > 0.5) x = 0.0; else if (x < 0.0) { x = 1.0; } else return c;",
           "for (int i = 0; i < 4; ++i) { x += float(i); if (x > 2.0) break; else continue; }",
           "int i; for (i = 0; ; i++) break; for (;;) { break; }",
           "while (x < 1.0) x += 0.1;",
           "while (bool go = x < 1.0) { x = go ? 2.0 : 1.0; }",
           "do { x -= 1.0; } while (x > 0.0);",
           "{ float x = 1.0; { vec4 x = c; } }",
           "float a = 1.0, b = a, d; d = a = b;",
           "const vec2 v = vec2(1.0, 2.0);",
           "vec3 q = vec3(p, 1.0); q.xy = q.yx; q.rgb += 1.0; q[0] = q[1];",
           "mat3 m = mat3(1.0); m[2] = vec3(1.0); m[0][1] = 2.0; vec3 w = m * m[0]; w = w * m;",
           "bool b = x == 1.0 && !(p != vec2(1.0)) || true ^^ false;",
           "bvec2 b = lessThan(p, vec2(1.0)); bool any_ = any(b); b = not(b);",
           "ivec2 i = ivec2(p); i += 1; i /= ivec2(2, 3); vec2 f = vec2(i);",
           "x = p.x, x = 1.0;",
       }) {
    ExpectValid(InKernel(body));
  }
}

TEST(CIKernel, AcceptsExpressions) {
  for (const char* const value : {
           "1.0",
           ".5",
           "5.",
           "1e3",
           "1.5E-3",
           "2.0f",
           "0x1F",
           "017",
           "0",
           "-x",
           "+x",
           "- -x",
           "(x)",
           "x * 2.0 + p.x / 3.0 - 1.0",
           "x > 0.0 ? 1.0 : 0",
           "p.s",
           "c.r",
           "p[1]",
           "clamp(x, 0.0, 1.0)",
           "clamp(p, 0.0, 1.0).y",
           "mix(x, 1.0, 0.5)",
           "pow(x, 2)",
           "atan(x)",
           "atan(p.y, p.x)",
           "length(p)",
           "dot(p, p)",
           "float(3)",
           "float(true)",
           "float(c)",
           "max(x, 1)",
           "step(0.5, x)",
           "smoothstep(0.0, 1.0, x)",
           "sin(x) + cossin(x).y",
           "compare(x, 1.0, 2.0)",
           "samplerExtent(src).z",
           "samplerSize(src).x",
           "samplerOrigin(src).y",
           "premultiply(c).r",
           "unpremultiply(c).a",
           "refract(p, p, 1.5).x",
           "cross(c.rgb, c.bgr).z",
           "srgb_to_linear(c.rgb).r",
           "mod(p, 2.0).x",
           "faceforward(p, p, p).y",
           "mat2(1.0, 2.0, 3.0, 4.0)[1].x",
           "vec4(x, p, 1).w",
           "vec4(p.xyxy)[3]",
           "vec2(c).x",
           "(x = 2.0)",
           "x++",
           "--x",
       }) {
    ExpectValid(InKernel(std::string("float y = ") + value + ";"));
  }
}

TEST(CIKernel, OperatorsBindAsPublished) {
  // Each would have the wrong type, or be no expression, if it were grouped the other way.
  ExpectValid(InKernel("bool b = 1.0 + 2.0 < 3.0 * 4.0;"));
  ExpectValid(InKernel("bool b = 1.0 < 2.0 == true;"));
  ExpectValid(InKernel("bool b = true || false && 1.0 == 2.0;"));
  ExpectValid(InKernel("bool b = true ^^ 1 < 2;"));
  ExpectValid(InKernel("float y = true ? 1.0 : false ? 2.0 : 3.0;"));
  ExpectInvalid(InKernel("bool b = 1.0 == 2.0 < 3.0;"), 2, "'=='");
  ExpectInvalid(InKernel("bool b = !x < 1.0;"), 2, "'!'");
}

TEST(CIKernel, RejectsWhatIsNoToken) {
  ExpectInvalid("kernel vec4 k() {\n return vec4(1.0); @ }", 2, "unexpected '@'");
  ExpectInvalid("\n\n/* never ends\n\n", 3, "comment");
  ExpectInvalid("#define X 1\n", 1, "preprocessor");
  ExpectInvalid("kernel vec4 \xC3\xA4() {}", 1, "unexpected character");
  ExpectInvalid(InKernel("int i = 5 % 2;"), 2, "'%'");
  ExpectInvalid(InKernel("int i = 5 & 2;"), 2, "'&'");
  ExpectInvalid(InKernel("float y = 1.0e;"), 2, "exponent");
  ExpectInvalid(InKernel("float y = 1.0.0;"), 2, "cannot follow");
  ExpectInvalid(InKernel("float y = 3x;"), 2, "cannot follow");
  ExpectInvalid(InKernel("int i = 0x;"), 2, "integer");
  ExpectInvalid(InKernel("int i = 09;"), 2, "integer");
  ExpectInvalid(InKernel("int i = 4294967296;"), 2, "32 bits");
  ExpectInvalid(InKernel("float switch = 1.0;"), 2, "reserved");
  ExpectInvalid(InKernel("float a__b = 1.0;"), 2, "underscores");
  ExpectInvalid("kernel vec4 k() { \0 return vec4(1.0); }"s, 1, "unexpected character");
}

TEST(CIKernel, CountsEveryKindOfLineEnd) {
  ExpectInvalid("\r\n\r\n@", 3, "unexpected");
  ExpectInvalid("\r\r@", 3, "unexpected");
  ExpectInvalid("/*\n*/ // x\n@", 3, "unexpected");
}

TEST(CIKernel, RejectsWhatIsNoGrammar) {
  ExpectInvalid("kernel", 1, "expected a type, found the end");
  ExpectInvalid("kernel vec4", 1, "name");
  ExpectInvalid("kernel vec4 k", 1, "'('");
  ExpectInvalid("kernel vec4 k(", 1, "type");
  ExpectInvalid("kernel vec4 k()", 1, "'{'");
  ExpectInvalid("kernel vec4 k() {", 1, "'}'");
  ExpectInvalid("kernel vec4 k() { return vec4(1.0) }", 1, "expected ';', found '}'");
  ExpectInvalid("kernel vec4 k(float float) {}", 1, "expected ')'");
  ExpectInvalid("float x;\nkernel vec4 k() { return vec4(1.0); }", 1, "must be const");
  ExpectInvalid("vec4 k() { return vec4(1.0); } }", 1, "expected a type");
  ExpectInvalid(InKernel("x = ;"), 2, "expected an expression");
  ExpectInvalid(InKernel("x = (1.0;"), 2, "')'");
  ExpectInvalid(InKernel("if x > 0.0 { }"), 2, "'('");
  ExpectInvalid(InKernel("else x = 1.0;"), 2, "expression");
  ExpectInvalid(InKernel("float a[3];"), 2, "arrays");
  ExpectInvalid(InKernel("discard;"), 2, "discard");
  ExpectInvalid(InKernel("struct s { float x; };"), 2, "structures");
  ExpectInvalid(InKernel("while (bool a) { }"), 2, "condition");
  ExpectInvalid(InKernel("x.1;"), 2, "expected ';'");
  ExpectInvalid(InKernel("f(1.0,);"), 2, "expression");
}

TEST(CIKernel, RejectsWrongNames) {
  ExpectInvalid(InKernel("x = y;"), 2, "'y' is not declared");
  ExpectInvalid(InKernel("float x = 1.0;"), 2, "declared twice");
  ExpectInvalid(InKernel("float a; float a;"), 2, "declared twice");
  ExpectInvalid(InKernel("{ float a; } a = 1.0;"), 2, "not declared");
  ExpectInvalid(InKernel("for (int i = 0; i < 2; i++) ; i = 0;"), 2, "not declared");
  ExpectInvalid(InKernel("x = f(1.0);"), 2, "'f' is not declared");
  ExpectInvalid(InKernel("x = x(1.0);"), 2, "a variable, not a function");
  ExpectInvalid("kernel vec4 k(float a, float a) { return vec4(a); }", 1, "declared twice");
  ExpectInvalid("const float f = 1.0;\nfloat f() { return 1.0; }", 2, "declared twice");
  ExpectInvalid("float f() { return 1.0; }\nconst float f = 1.0;", 2, "declared twice");
  ExpectInvalid("float f() { return 1.0; }\nfloat f() { return 1.0; }", 2, "defined twice");
  ExpectInvalid("float f();\nvec2 f() { return vec2(1.0); }", 2, "differently");
  ExpectInvalid("kernel vec4 k() { return vec4(1.0); }\nkernel vec4 k(float a) { return vec4(a); }",
                2, "only function");
  ExpectInvalid("kernel vec4 sin() { return vec4(1.0); }", 1, "built-in");
}

TEST(CIKernel, RejectsWrongTypes) {
  ExpectInvalid(InKernel("x = p;"), 2, "a vec2 cannot be assigned to a float");
  ExpectInvalid(InKernel("int i = 1.5;"), 2, "must be int, not float");
  ExpectInvalid(InKernel("x += p;"), 2, "assigned");
  ExpectInvalid(InKernel("x = p + c;"), 2, "'+' cannot be used on vec2 and vec4");
  ExpectInvalid(InKernel("x = true + 1.0;"), 2, "'+'");
  ExpectInvalid(InKernel("bool b = p < p;"), 2, "'<'");
  ExpectInvalid(InKernel("bool b = x && true;"), 2, "'&&'");
  ExpectInvalid(InKernel("bool b = p == c;"), 2, "'=='");
  ExpectInvalid(InKernel("if (x) ;"), 2, "a condition must be bool, not float");
  ExpectInvalid(InKernel("while (1) ;"), 2, "condition");
  ExpectInvalid(InKernel("do ; while (p);"), 2, "condition");
  ExpectInvalid(InKernel("for (; x; ) ;"), 2, "condition");
  ExpectInvalid(InKernel("while (float f = 1.0) ;"), 2, "condition");
  ExpectInvalid(InKernel("x = true ? 1.0 : p;"), 2, "differ");
  ExpectInvalid(InKernel("x = x ? 1.0 : 2.0;"), 2, "'?'");
  ExpectInvalid(InKernel("x = -true;"), 2, "'-'");
  ExpectInvalid(InKernel("bool b = true; b++;"), 2, "'++'");
  ExpectInvalid(InKernel("x = src;"), 2, "sampler");
  ExpectInvalid(InKernel("x = src + 1.0;"), 2, "sampler");
  ExpectInvalid(InKernel("sampler s;"), 2, "cannot be sampler");
  ExpectInvalid(InKernel("__color d;"), 2, "cannot be __color");
  ExpectInvalid(InKernel("void v;"), 2, "cannot be void");
  ExpectInvalid(InKernel("mat2 m = mat2(1.0) * mat3(1.0);"), 2, "'*'");
  ExpectInvalid(InKernel("vec2 v = mat3(1.0) * p;"), 2, "'*'");
}

TEST(CIKernel, RejectsWrongCalls) {
  ExpectInvalid(InKernel("x = sin(true);"), 2, "'sin' does not take (bool)");
  ExpectInvalid(InKernel("x = clamp(x, 1.0);"), 2, "'clamp' does not take (float, float)");
  ExpectInvalid(InKernel("x = dot(p, c);"), 2, "'dot'");
  ExpectInvalid(InKernel("c = sample(c, p);"), 2, "'sample'");
  ExpectInvalid(InKernel("c = sample(src);"), 2, "'sample'");
  ExpectInvalid(InKernel("x = k(src, c, x, p).r;"), 2, "cannot be called");
  ExpectInvalid("float f(float a) { return a; }\n" + InKernel("x = f(p);"), 3, "'f' does not take");
  ExpectInvalid("float f(float a);\n" + InKernel("x = f(x);"), 3, "'f' is not defined");
  ExpectInvalid("float f(float a) { return f(a); }\n" + InKernel(""), 1, "calls itself");
  ExpectInvalid(
      "float g(float a);\nfloat f(float a) { return g(a); }\n"
      "float g(float a) { return f(a); }\n" +
          InKernel(""),
      1, "calls itself");
  ExpectInvalid("void f(out float a) { a = 1.0; }\n" + InKernel("f(1.0);"), 3, "assigned");
  ExpectInvalid("void f(out float a) { a = 1.0; }\n" + InKernel("int i; f(i);"), 3, "out argument");
  ExpectInvalid("float f(float a, int b) { return a; }\nfloat f(int a, float b) { return b; }\n" +
                    InKernel("x = f(1, 1);"),
                4, "more than one");
}

TEST(CIKernel, RejectsWrongConstructors) {
  ExpectInvalid(InKernel("vec4 v = vec4();"), 2, "at least one");
  ExpectInvalid(InKernel("vec4 v = vec4(1.0, 2.0);"), 2, "needs 4 components, not 2");
  ExpectInvalid(InKernel("vec2 v = vec2(1.0, 2.0, 3.0);"), 2, "too many");
  ExpectInvalid(InKernel("mat2 m = mat2(1.0, 2.0, 3.0, p);"), 2, "components");
  ExpectInvalid(InKernel("mat2 m = mat2(mat3(1.0));"), 2, "from a matrix");
  ExpectInvalid(InKernel("x = float(src);"), 2, "sampler");
  ExpectInvalid(InKernel("x = sampler(1.0);"), 2, "cannot be constructed");
  ExpectInvalid(InKernel("void(1.0);"), 2, "cannot be constructed");
}

TEST(CIKernel, RejectsWrongComponents) {
  ExpectInvalid(InKernel("x = p.z;"), 2, "'z' does not name components of a vec2");
  ExpectInvalid(InKernel("x = c.xg;"), 2, "does not name");
  ExpectInvalid(InKernel("x = c.xyzwx;"), 2, "more than four");
  ExpectInvalid(InKernel("x = x.x;"), 2, "no components");
  ExpectInvalid(InKernel("p.xx = p;"), 2, "names a component twice");
  ExpectInvalid(InKernel("x = p[2];"), 2, "beyond a vec2");
  ExpectInvalid(InKernel("x = p[x];"), 2, "must be int");
  ExpectInvalid(InKernel("x = x[0];"), 2, "cannot be indexed");
}

TEST(CIKernel, RejectsWrongAssignments) {
  ExpectInvalid(InKernel("1.0 = x;"), 2, "cannot be assigned to");
  ExpectInvalid(InKernel("const float a = 1.0; a = 2.0;"), 2, "const");
  ExpectInvalid(InKernel("const float a = 1.0; a++;"), 2, "const");
  ExpectInvalid(InKernel("x + 1.0 = x;"), 2, "cannot be assigned to");
  ExpectInvalid(InKernel("src = src;"), 2, "sampler");
  ExpectInvalid(InKernel("const float a;"), 2, "constant value");
  ExpectInvalid(InKernel("const float a = x;"), 2, "constant value");
  ExpectInvalid(InKernel("const vec2 a = destCoord();"), 2, "constant value");
}

TEST(CIKernel, RejectsWrongSignatures) {
  ExpectInvalid("kernel float k() { return 1.0; }", 1, "must return vec4");
  ExpectInvalid("kernel vec4 k();", 1, "no body");
  ExpectInvalid("kernel vec4 k(float) { return vec4(1.0); }", 1, "needs a name");
  ExpectInvalid("kernel vec4 k(out float a) { return vec4(1.0); }", 1, "out parameters");
  ExpectInvalid("kernel vec4 k(mat2 m) { return vec4(1.0); }", 1, "cannot be mat2");
  ExpectInvalid("kernel vec4 k(bvec2 m) { return vec4(1.0); }", 1, "cannot be bvec2");
  ExpectInvalid("kernel vec4 k(__table float t) { return vec4(1.0); }", 1, "__table");
  ExpectInvalid("kernel vec4 k(float a,\nvoid b) { return vec4(1.0); }", 2, "void");
  ExpectInvalid("void f(out sampler s) { }", 1, "sampler");
  ExpectInvalid("void f(const out float s) { }", 1, "const");
  ExpectInvalid("sampler f() { }", 1, "cannot return");
}

TEST(CIKernel, RejectsWrongReturnsAndJumps) {
  ExpectInvalid("kernel vec4 k() { }", 1, "returns no value");
  ExpectInvalid("kernel vec4 k() {\nreturn; }", 2, "must return a value");
  ExpectInvalid("kernel vec4 k() {\nreturn 1.0; }", 2, "must be vec4, not float");
  ExpectInvalid("void f() {\nreturn 1.0; }", 2, "void");
  ExpectInvalid(InKernel("break;"), 2, "'break'");
  ExpectInvalid(InKernel("if (true) continue;"), 2, "'continue'");
}

std::string Repeat(const std::string& text, int times) {
  std::string all;
  for (int i = 0; i < times; ++i) all += text;
  return all;
}

TEST(CIKernel, DeepNestingIsAnErrorAndNoCrash) {
  constexpr int kDeep = 5000;
  for (const std::string& body : {
           "x = " + Repeat("(", kDeep) + "1.0" + Repeat(")", kDeep) + ";",
           "x = " + Repeat("-", kDeep) + "1.0;",
           "x = " + Repeat("- ", kDeep) + "1.0;",
           "x = 1.0" + Repeat(" + 1.0", kDeep) + ";",
           "x = 1.0" + Repeat(", 1.0", kDeep) + ";",
           Repeat("x = ", kDeep) + "1.0;",
           "x = " + Repeat("true ? 1.0 : ", kDeep) + "1.0;",
           "x = " + Repeat("true ? ", kDeep) + "1.0;",
           "x = " + Repeat("sin(", kDeep) + "1.0" + Repeat(")", kDeep) + ";",
           "x = p" + Repeat(".xy", kDeep) + ".x;",
           "x = p" + Repeat("[0]", kDeep) + ";",
           "x = p" + Repeat("[p", kDeep) + ";",
           Repeat("{", kDeep) + Repeat("}", kDeep),
           Repeat("if (true) ", kDeep) + ";",
           Repeat("if (true) ; else ", kDeep) + ";",
           Repeat("while (true) ", kDeep) + ";",
           Repeat("do ", kDeep) + ";",
           Repeat("for (;;) ", kDeep) + ";",
       }) {
    const NSAutoreleasePool pool;
    CIKernelError error;
    EXPECT_EQ(Compile(InKernel(body), &error), nullptr) << body.substr(0, 40);
    EXPECT_EQ(error.line, 2);
    EXPECT_NE(error.message, "");
  }
}

TEST(CIKernel, ReasonableNestingAndLengthCompile) {
  ExpectValid(InKernel("x = " + Repeat("(", 100) + "1.0" + Repeat(")", 100) + ";"));
  ExpectValid(InKernel("x = 1.0" + Repeat(" + 1.0", 1000) + ";"));
  ExpectValid(InKernel(Repeat("if (true) ; else ", 200) + ";"));
  ExpectValid(InKernel(Repeat("x += 1.0;\n", 3000)));
  std::string chain = "float f0() { return 1.0; }\n";
  for (int i = 1; i < 2000; ++i) {
    chain += "float f" + std::to_string(i) + "() { return f" + std::to_string(i - 1) + "(); }\n";
  }
  ExpectValid(chain + InKernel("x = f1999();"));
}

TEST(CIKernel, SourceBeyondTheLimitIsRejected) {
  ExpectInvalid(Repeat(" ", 1024 * 1024 + 1), 1, "1 MiB");
}

}  // namespace
