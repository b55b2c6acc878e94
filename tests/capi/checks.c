/* SPDX-FileCopyrightText: the pistonfield developers */
/* SPDX-License-Identifier: BSD-3-Clause */
#include "tests/capi/checks.h"

#include <stdio.h>
#include <string.h>

int failures = 0;
pistonfield_message message;

void expect(int holds, const char* what, int line) {
    if (holds) return;
    ++failures;
    printf("line %d: not so: %s\n", line, what);
}

void expectOutcome(pistonfield_status status, pistonfield_status expected, const char* text,
                   const char* expectedText, int line) {
    if (status == expected && strcmp(text, expectedText) == 0) return;
    ++failures;
    printf("line %d: status %d, \"%s\" in place of %d, \"%s\"\n", line, (int)status, text,
           (int)expected, expectedText);
}

pistonfield_plan* planFor(const pistonfield_request* request) {
    pistonfield_plan* plan = NULL;
    EXPECT_OUTCOME(pistonfield_plan_create(request, &plan, &message), PISTONFIELD_SUCCESS, "");
    EXPECT(plan != NULL);
    return plan;
}
