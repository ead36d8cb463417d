/* SPDX-License-Identifier: MIT */
/**
 * @file classes.h
 * The whole class interface.
 */
#ifndef ORVIK_CLASSES_H
#define ORVIK_CLASSES_H

#include <orvik/algorithm.h>
#include <orvik/camera_base.h>
#include <orvik/camera_cool.h>
#include <orvik/cameras.h>
#include <orvik/class_types.h>

#endif
