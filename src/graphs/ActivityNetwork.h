// ActivityNetwork: activity-on-edge project networks for the critical-path
// method.
//
// Events (TAOEEvent) are the nodes, tasks (TAOETask) the edges; a task's
// Weight is its duration. GetEarliestCompletionTime computes every event's
// earliest and latest time and every task's earliest and latest start;
// GetCriticalActivities lists the tasks without slack; GetCriticalGraph
// copies the critical part into a network of its own.
#pragma once

#include <cstdint>
#include <memory>

#include "graphs/PelGraph.h"

namespace pel {

class TAOEEvent;

class TAOETask : public TWeightedEdge {
  PEL_CLASS(TAOETask, TWeightedEdge)
  PEL_PUBLISHED(
      TAOETask,
      Property<&TAOETask::GetEarliestStartTime, &TAOETask::SetEarliestStartTime>(
          "EarliestStartTime"),
      Property<&TAOETask::GetLatestStartTime, &TAOETask::SetLatestStartTime>("LatestStartTime"))
 public:
  using TWeightedEdge::TWeightedEdge;

  // The task's slack: LatestStartTime - EarliestStartTime; 0 is critical.
  int32_t GetCriticality() const;
  // "From --> To" from the end events' captions, built on the first call
  // and kept: later renaming does not change it (intended).
  const String& GetName();
  // Base data (weight), then the kept name, EarliestStartTime and
  // LatestStartTime.
  void ReadData(TReader* Reader) override;
  void WriteData(TWriter* Writer) override;

  int32_t GetEarliestStartTime() const { return FEarliestStartTime; }
  void SetEarliestStartTime(int32_t Value) { FEarliestStartTime = Value; }
  int32_t GetLatestStartTime() const { return FLatestStartTime; }
  void SetLatestStartTime(int32_t Value) { FLatestStartTime = Value; }

 private:
  int32_t FEarliestStartTime = 0;
  int32_t FLatestStartTime = 0;
  // Made on demand: most tasks of a large network are never asked.
  std::unique_ptr<String> FName;
};

class TAOEEvent : public TWeightedNode {
  PEL_CLASS(TAOEEvent, TWeightedNode)
  PEL_PUBLISHED(
      TAOEEvent,
      Property<&TAOEEvent::GetEarliestEventTime, &TAOEEvent::SetEarliestEventTime>(
          "EarliestEventTime"),
      Property<&TAOEEvent::GetLatestEventTime, &TAOEEvent::SetLatestEventTime>("LatestEventTime"))
 public:
  using TWeightedNode::TWeightedNode;

  // A TAOETask.
  TPelGraphEdge* NewEdge(TPelGraphNode* FromNode, TPelGraphNode* ToNode) override;
  // Base data (caption, weight), then EarliestEventTime and LatestEventTime.
  void ReadData(TReader* Reader) override;
  void WriteData(TWriter* Writer) override;

  int32_t GetEarliestEventTime() const { return FEarliestEventTime; }
  void SetEarliestEventTime(int32_t Value) { FEarliestEventTime = Value; }
  int32_t GetLatestEventTime() const { return FLatestEventTime; }
  void SetLatestEventTime(int32_t Value) { FLatestEventTime = Value; }

 private:
  int32_t FEarliestEventTime = 0;
  int32_t FLatestEventTime = 0;
};

// A directed graph of events and tasks (new nodes are TAOEEvent).
class TActivityNetwork : public TPelGraph {
  PEL_CLASS(TActivityNetwork, TPelGraph)
 public:
  explicit TActivityNetwork(TComponent* AOwner);

  // The forward pass: after the base, the successor's earliest time rises
  // to Node's earliest time plus the task's duration when that is later.
  // Nodes and edges of other classes are skipped.
  void ModifySuccessor(TPelGraphNode* Node, TPelGraphNode* Successor, TPelGraphEdge* Edge) override;

  // Computes the times of every event and task and returns the events in
  // topological order (into List, or a new string list the caller owns),
  // cut to the events from Start on (when given) and without the events
  // reachable from Finish after it (when given). Time is the earliest time
  // of the last event returned minus that of the first (0 when none is).
  // A cyclic or undirected network raises "Graph is not acyclic".
  //
  // The cut deletes the entries inside one update bracket of the list.
  TStrings* GetEarliestCompletionTime(TAOEEvent* Start, TAOEEvent* Finish, TStrings* List,
                                      int32_t& Time);
  // The same computation; the list then holds every critical task of the
  // whole network (not only between Start and Finish) under its name.
  TStrings* GetCriticalActivities(TAOEEvent* Start, TAOEEvent* Finish, TStrings* List,
                                  int32_t& Time);
  // Network (cleared and made directed; a new owner-less network when null,
  // the caller owns it) filled with copies of Start, Finish (each when
  // given) and the critical tasks with their end events. The copies carry
  // captions and durations; their times are those of a new network.
  TActivityNetwork* GetCriticalGraph(TAOEEvent* Start, TAOEEvent* Finish,
                                     TActivityNetwork* Network);

  TAOEEvent* GetNode(int32_t Index) const;

 private:
  void BackwardPass(TStrings* Order);
  // The computation of a large network whose hooks, events and tasks are
  // exactly this unit's, on arrays indexed by node rather than through the
  // objects, which lie far apart: the same order, times and work tags as the
  // walk. Null, with only work tags changed, when the network is small or
  // not such a network, has a cycle, or List is a string list whose handlers
  // could look at the network while it is filled.
  TStrings* ComputeInArrays(TStrings* List);
};

namespace ActivityNetwork {
// Registers TActivityNetwork for streaming and on the palette page
// "Additional", and its event and task classes for graph streams.
void Register();
}  // namespace ActivityNetwork

}  // namespace pel
