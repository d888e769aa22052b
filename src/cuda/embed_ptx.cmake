# Writes ptx_program.cpp: the PTX text (empty when PTX is not given) as one
# string, in chunks that every compiler accepts as adjacent literals.
set(content "")
if(PTX)
  file(READ ${PTX} content)
endif()
string(LENGTH "${content}" length)
file(WRITE ${OUT}.tmp "// Generated from the CUDA kernels at build time; do not edit.\n"
  "#include \"cuda/ptx_program.h\"\n\nnamespace KROCOLOR {\nnamespace cuda {\n\nnamespace {\nconst char kPtx[] =\n")
set(offset 0)
if(length EQUAL 0)
  file(APPEND ${OUT}.tmp "    \"\"\n")
endif()
while(offset LESS length)
  string(SUBSTRING "${content}" ${offset} 8000 chunk)
  file(APPEND ${OUT}.tmp "    R\"kroptx(${chunk})kroptx\"\n")
  math(EXPR offset "${offset} + 8000")
endwhile()
file(APPEND ${OUT}.tmp ";\n}  // namespace\n\nconst char* embeddedPtx() { return kPtx; }\n"
  "size_t embeddedPtxSize() { return sizeof(kPtx) - 1; }\n\n}  // namespace cuda\n}  // namespace KROCOLOR\n")
file(RENAME ${OUT}.tmp ${OUT})
