# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""Finds the mutants of a source file: small faults, each a piece of text in place of another.

The places come from the syntax tree, so templates count once and types are left alone.
"""
import re
from dataclasses import dataclass, field
from itertools import pairwise

from clang.cindex import CursorKind as Kind, Index, TypeKind

ARITHMETIC = {"+": "-", "-": "+", "*": "/", "/": "*", "%": "*", "+=": "-=", "-=": "+=",
              "*=": "/=", "/=": "*=", "&": "|", "|": "&", "^": "|"}
RELATIONAL = {"<": ["<=", ">="], "<=": ["<", ">"], ">": [">=", "<="], ">=": [">", "<"],
              "==": ["!="], "!=": ["=="]}
LOGICAL = {"&&": "||", "||": "&&"}
UNARY = {"-": "", "!": "", "~": "", "++": "--", "--": "++"}
CONDITIONAL = {Kind.IF_STMT, Kind.CONDITIONAL_OPERATOR}
REMOVABLE = {Kind.CALL_EXPR, Kind.BINARY_OPERATOR, Kind.COMPOUND_ASSIGNMENT_OPERATOR,
             Kind.UNARY_OPERATOR, Kind.CXX_THROW_EXPR, Kind.CXX_DELETE_EXPR, Kind.CONTINUE_STMT,
             Kind.BREAK_STMT, Kind.RETURN_STMT, Kind.UNEXPOSED_EXPR}
NONE = slice(0)
BODY = slice(-1, None)
FUNCTIONS = {Kind.FUNCTION_DECL, Kind.FUNCTION_TEMPLATE, Kind.CXX_METHOD, Kind.CONSTRUCTOR,
             Kind.DESTRUCTOR, Kind.CONVERSION_FUNCTION}
CLASSES = {Kind.CLASS_DECL, Kind.STRUCT_DECL, Kind.CLASS_TEMPLATE,
           Kind.CLASS_TEMPLATE_PARTIAL_SPECIALIZATION}
NAMED = FUNCTIONS | CLASSES | {Kind.VAR_DECL, Kind.FIELD_DECL}
STATEMENTS = {Kind.COMPOUND_STMT: slice(None), Kind.IF_STMT: slice(1, None), Kind.FOR_STMT: BODY,
              Kind.CXX_FOR_RANGE_STMT: BODY, Kind.WHILE_STMT: BODY}  # which children are statements


@dataclass(frozen=True, order=True)
class Mutant:
    start: int  # where the text to replace begins and ends
    end: int
    text: str
    operator: str
    place: str = field(compare=False)  # the function, or the class or variable outside of one

    def applied(self, source):
        return source[:self.start] + self.text + source[self.end:]

    def line(self, source):
        return source.count("\n", 0, self.start) + 1

    def change(self, source):
        """What stood there, and what stands there now."""
        before = " ".join(source[self.start:self.end].split())
        after = " ".join(self.text.split())
        return f"{before} -> {after or 'nothing'}"


def place_of(cursor):
    """The name of a function with its class, or of a class or variable."""
    name = cursor.spelling.split("<")[0]  # a constructor's of a template has the parameters
    parent = cursor.semantic_parent
    return f"{parent.spelling}::{name}" if parent and parent.kind in CLASSES else name


def span(cursor):
    return cursor.extent.start.offset, cursor.extent.end.offset


class Finder:
    def __init__(self, path, source, arguments):
        self.path = path
        self.source = source
        self.found = set()
        self.place = ""
        unit = Index.create().parse(path, arguments)
        errors = [d for d in unit.diagnostics if d.severity >= d.Error]
        if errors:
            raise RuntimeError(f"{path}: {errors[0].spelling}")
        self.visit(unit.cursor)

    def add(self, start, end, text, operator):
        if self.source[start:end] != text:
            self.found.add(Mutant(start, end, text, operator, self.place))

    def visit(self, parent, place="", in_function=False):
        for cursor in parent.get_children():
            file = cursor.location.file
            if parent.kind == Kind.TRANSLATION_UNIT and (not file or file.name != self.path):
                continue
            inner, inside = place, in_function
            if not in_function and cursor.kind in NAMED:  # lambdas belong to their function
                inner, inside = place_of(cursor), cursor.kind in FUNCTIONS
            self.place = inner
            self.mutate(cursor)
            self.visit(cursor, inner, inside)

    def mutate(self, cursor):
        children = list(cursor.get_children())
        kind = cursor.kind
        if kind in (Kind.BINARY_OPERATOR, Kind.COMPOUND_ASSIGNMENT_OPERATOR) and len(children) == 2:
            self.binary(*self.operator_between(*children))
        elif kind == Kind.UNARY_OPERATOR:
            self.unary(cursor)
        elif kind == Kind.CALL_EXPR:
            self.call(cursor, children)
        elif kind in (Kind.INTEGER_LITERAL, Kind.FLOATING_LITERAL):
            self.number(cursor)
        elif kind == Kind.CXX_BOOL_LITERAL_EXPR:
            start, end = span(cursor)
            # A default argument that is used here stands elsewhere.
            other = {"true": "false", "false": "true"}.get(self.source[start:end])
            if other:
                self.add(start, end, other, "constant")
        if kind in CONDITIONAL:
            self.condition(next(c for c in children if c.kind.is_expression()))
        for child in children[STATEMENTS.get(kind, NONE)]:
            self.statement(child)

    def operator_between(self, left, right):
        start, end = left.extent.end.offset, right.extent.start.offset
        text = self.source[start:end].strip("() \n")
        start = self.source.index(text, start)
        return start, text

    def binary(self, start, operator):
        end = start + len(operator)
        for text in RELATIONAL.get(operator, []):
            self.add(start, end, text, "relation")
        if operator in ARITHMETIC:
            self.add(start, end, ARITHMETIC[operator], "arithmetic")
        if operator in LOGICAL:
            self.add(start, end, LOGICAL[operator], "logic")

    def unary(self, cursor):
        start, end = span(cursor)
        for operator in sorted(UNARY, key=len, reverse=True):
            if self.source.startswith(operator, start):
                return self.add(start, start + len(operator), UNARY[operator], "arithmetic")
            if len(operator) == 2 and self.source.endswith(operator, start, end):
                return self.add(end - 2, end, UNARY[operator], "arithmetic")

    def call(self, cursor, children):
        named = [c for c in children if c.spelling.startswith("operator")]
        operators = [c for c in named if not self.source[slice(*span(c))].isidentifier()]
        if operators:
            start, end = span(operators[0])
            if start > span(cursor)[0]:  # with an operand on its left
                self.binary(start, self.source[start:end])
            return
        for first, second in pairwise(cursor.get_arguments()):
            self.swap(first, second)

    def swap(self, first, second):
        if first is None or second is None or first.type.spelling != second.type.spelling:
            return
        (start, middle), (begin, end) = span(first), span(second)
        if not start < middle <= begin < end:
            return
        source = self.source
        self.add(start, end, source[begin:end] + source[middle:begin] + source[start:middle],
                 "swap")

    def number(self, cursor):
        start, end = span(cursor)
        text = self.source[start:end]
        digits = text.rstrip("uUlLfF").replace("'", "")
        before, after = self.source[:start].rstrip(), self.source[end:]
        in_type = before[-1] in "<," and re.match(r" *>(?![=>])", after)
        if not digits[:1].isdigit() or digits.startswith("0x") or in_type:
            return
        if cursor.kind == Kind.INTEGER_LITERAL:
            value = int(digits)
            texts = [str(value + 1)] + ([str(value - 1)] if value > 0 else [])
        else:
            texts = [f"({text} * 2)"] if float(digits) else ["1.0"]
        for replacement in texts:
            self.add(start, end, replacement, "constant")

    def condition(self, cursor):
        start, end = span(cursor)
        text = self.source[start:end]
        if not text.startswith("!"):
            self.add(start, end, f"!({text})", "condition")

    def statement(self, cursor):
        if cursor.kind not in REMOVABLE or cursor.kind == Kind.RETURN_STMT and any(
                c.kind != Kind.CALL_EXPR or c.type.kind != TypeKind.VOID
                for c in cursor.get_children()):
            return
        self.add(*span(cursor), "", "statement")


def find_mutants(path, arguments):
    with open(path, encoding="utf-8") as file:
        source = file.read()
    return source, sorted(Finder(path, source, arguments).found)
