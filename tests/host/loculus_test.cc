// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "host/loculus/camera.h"
#include "host/loculus/creation_observer.h"
#include "host/loculus/document.h"
#include "host/loculus/folder.h"
#include "host/loculus/line_string.h"
#include "host/loculus/photo_overlay.h"
#include "host/loculus/placemark.h"
#include "host/loculus/planet.h"
#include "host/loculus/point.h"
#include "host/reference/heap_statistics.h"
#include "host/text.h"

namespace nimbara {
namespace loculus {
namespace {

template <typename T>
RefPtr<T> Make() {
  return RefPtr<T>(new T(KmlId(), QStringNull()));
}

FieldsSpecified& Dummy() {
  return Field::s_dummy_fields_specified;
}

TEST(Schema, KnowsItsClassAndTheClassesAboveIt) {
  const RefPtr<Placemark> placemark = Make<Placemark>();
  EXPECT_TRUE(placemark->isOfType(Placemark::GetSchema()));
  EXPECT_TRUE(placemark->isOfType(AbstractFeature::GetSchema()));
  EXPECT_TRUE(placemark->isOfType(SchemaObject::GetSchema()));
  EXPECT_FALSE(placemark->isOfType(Document::GetSchema()));
  EXPECT_FALSE(placemark->isOfType(Container::GetSchema()));
  EXPECT_EQ(&placemark->schema(), &Placemark::GetSchema());
}

TEST(Schema, GivesTheElementNameOfItsClass) {
  EXPECT_STREQ(Placemark::GetSchema().class_name(), "Placemark");
  EXPECT_STREQ(LineString::GetSchema().class_name(), "LineString");
  EXPECT_STREQ(Planet::GetSchema().class_name(), "Planet");
}

TEST(Schema, LivesOnTheStaticHeap) {
  EXPECT_EQ(MemoryManager::GetManager(&Camera::GetSchema()), HeapManager::GetStaticHeap());
}

TEST(Schema, IsMadeOnce) {
  Icon::GetSchema();
  const HeapStatistics before = GetHeapStatistics(HeapManager::GetStaticHeap());
  const Schema* first = &Icon::GetSchema();
  EXPECT_EQ(first, &Icon::GetSchema());
  EXPECT_EQ(GetHeapStatistics(HeapManager::GetStaticHeap()), before);
}

TEST(Schema, ListsTheFieldsOfBaseClassesFirst) {
  const PlacemarkSchema& schema = Placemark::GetSchema();
  ASSERT_EQ(schema.GetFieldCount(), AbstractFeature::GetSchema().GetFieldCount() + 1);
  EXPECT_STREQ(schema.GetField(0)->name(), "name");
  EXPECT_EQ(schema.GetField(schema.GetFieldCount() - 1), &schema.geometry);
  EXPECT_EQ(schema.GetField(schema.GetFieldCount()), nullptr);
  EXPECT_EQ(schema.GetField(-1), nullptr);
}

TEST(Schema, FindsAFieldByName) {
  EXPECT_EQ(Placemark::GetSchema().FindField("geometry"), nullptr);
  EXPECT_EQ(Placemark::GetSchema().FindField("Geometry"), &Placemark::GetSchema().geometry);
}

TEST(Schema, OfALineHasTheOffsetInFrontOfTheTwoSwitches) {
  const LineStringSchema& schema = LineString::GetSchema();
  EXPECT_EQ(schema.extrude.index(), schema.altitude_offset.index() + 1);
  EXPECT_EQ(schema.tessellate.index(), schema.extrude.index() + 1);
}

TEST(Schema, MakesObjectsOfClassesThatAreNotAbstract) {
  const RefPtr<SchemaObject> made(
      Camera::GetSchema().Create(KmlId{"c", ""}, "u", HeapManager::GetDynamicHeap()));
  EXPECT_NE(As<Camera>(made.get()), nullptr);
  EXPECT_EQ(made->id().id, QString("c"));
  EXPECT_EQ(made->source_url(), QString("u"));
  EXPECT_EQ(MemoryManager::GetManager(made.get()), HeapManager::GetDynamicHeap());
  EXPECT_EQ(AbstractView::GetSchema().Create(KmlId(), QString(), nullptr), nullptr);
}

TEST(TypedField, SetsAValueAndNotesTheField) {
  const RefPtr<LineString> line = Make<LineString>();
  FieldsSpecified specified;
  EXPECT_TRUE(LineString::GetSchema().extrude.CheckSet(line.get(), true, specified));
  EXPECT_TRUE(line->extrude());
  EXPECT_TRUE(specified.Has(LineString::GetSchema().extrude.index()));
  EXPECT_FALSE(specified.Has(LineString::GetSchema().tessellate.index()));
}

TEST(TypedField, OfABaseSchemaSetsObjectsOfClassesBelow) {
  const RefPtr<Placemark> placemark = Make<Placemark>();
  EXPECT_TRUE(AbstractFeature::GetSchema().name.CheckSet(placemark.get(), "street", Dummy()));
  EXPECT_EQ(placemark->name(), QString("street"));
  EXPECT_EQ(Placemark::GetSchema().name.Get(*placemark), QString("street"));
}

TEST(TypedField, RefusesAnObjectOfAnotherSchema) {
  const RefPtr<Point> point = Make<Point>();
  FieldsSpecified specified;
  EXPECT_FALSE(LineString::GetSchema().extrude.CheckSet(point.get(), true, specified));
  EXPECT_FALSE(LineString::GetSchema().extrude.CheckSet(nullptr, true, specified));
  EXPECT_FALSE(point->extrude());
  EXPECT_FALSE(specified.Has(LineString::GetSchema().extrude.index()));
}

TEST(ObjectField, MakesTheHolderAnOwner) {
  const RefPtr<Placemark> placemark = Make<Placemark>();
  const RefPtr<Point> point = Make<Point>();
  placemark->SetGeometry(point.get());
  EXPECT_EQ(point->owners(), std::vector<SchemaObject*>{placemark.get()});
  EXPECT_EQ(point->ref_count(), 2);
  placemark->SetGeometry(nullptr);
  EXPECT_TRUE(point->owners().empty());
  EXPECT_EQ(point->ref_count(), 1);
}

TEST(ObjectField, KeepsItsObjectWhenItIsSetAgain) {
  const RefPtr<Placemark> placemark = Make<Placemark>();
  const RefPtr<Point> point = Make<Point>();
  placemark->SetGeometry(point.get());
  placemark->SetGeometry(point.get());
  EXPECT_EQ(point->owners().size(), 1u);
  EXPECT_EQ(point->ref_count(), 2);
}

TEST(SchemaObject, LeavesTheSetsOfOthersWhenItDies) {
  const RefPtr<Camera> camera = Make<Camera>();
  {
    const RefPtr<Placemark> placemark = Make<Placemark>();
    camera->AddOwner(placemark.get());
    EXPECT_EQ(camera->owners().size(), 1u);
  }
  EXPECT_TRUE(camera->owners().empty());
}

TEST(SchemaObject, ThatIsOwnedDiesBeforeItsOwnerWithoutATrace) {
  const RefPtr<Placemark> placemark = Make<Placemark>();
  {
    const RefPtr<Camera> camera = Make<Camera>();
    camera->AddOwner(placemark.get());
  }
  placemark->SetView(Make<Camera>().get());
  EXPECT_EQ(placemark->view()->owners().size(), 1u);
}

TEST(SchemaObject, HasEachOwnerOnce) {
  const RefPtr<Placemark> placemark = Make<Placemark>();
  const RefPtr<Camera> camera = Make<Camera>();
  camera->AddOwner(placemark.get());
  camera->AddOwner(placemark.get());
  camera->AddOwner(nullptr);
  EXPECT_EQ(camera->owners().size(), 1u);
  camera->RemoveOwner(nullptr);
  camera->RemoveOwner(camera.get());
  EXPECT_EQ(camera->owners().size(), 1u);
}

TEST(SchemaObject, CannotOwnItselfOverAnyNumberOfSteps) {
  const RefPtr<Folder> outer = Make<Folder>();
  const RefPtr<Folder> inner = Make<Folder>();
  EXPECT_FALSE(outer->AddFeature(outer.get()));
  EXPECT_TRUE(outer->AddFeature(inner.get()));
  EXPECT_FALSE(inner->AddFeature(outer.get()));
  outer->AddOwner(inner.get());
  EXPECT_TRUE(outer->owners().empty());
  EXPECT_TRUE(inner->IsOwnedBy(*outer));
  EXPECT_FALSE(outer->IsOwnedBy(*inner));
}

TEST(SchemaObject, HasAnEmptyIdentityByDefault) {
  const RefPtr<Point> point = Make<Point>();
  EXPECT_TRUE(point->id().id.isNull());
  EXPECT_TRUE(point->source_url().isNull());
}

TEST(SchemaObject, LeavesNothingOnTheHeap) {
  Make<Document>();
  const HeapStatistics before = GetHeapStatistics(GetDefaultHeap());
  {
    const RefPtr<Document> document = Make<Document>();
    const RefPtr<Placemark> placemark = Make<Placemark>();
    document->AddFeature(placemark.get());
    placemark->SetGeometry(new Point({}, placemark.get(), KmlId(), QStringNull()));
    placemark->InlineStyle()->GetIconStyle()->SetIcon(Icon::create("u").get());
    placemark->SetView(new Camera(KmlId(), QStringNull()));
    EXPECT_GT(GetHeapStatistics(GetDefaultHeap()).blocks, before.blocks);
  }
  EXPECT_EQ(GetHeapStatistics(GetDefaultHeap()), before);
}

TEST(As, GivesNullForAnotherClass) {
  const RefPtr<Point> point = Make<Point>();
  EXPECT_EQ(As<Point>(static_cast<SchemaObject*>(point.get())), point.get());
  EXPECT_EQ(As<LineString>(static_cast<SchemaObject*>(point.get())), nullptr);
  EXPECT_EQ(As<Point>(static_cast<SchemaObject*>(nullptr)), nullptr);
}

TEST(AbstractFeature, MakesItsInlineStyleOnce) {
  const RefPtr<Placemark> placemark = Make<Placemark>();
  EXPECT_EQ(placemark->style(), nullptr);
  Style* style = placemark->InlineStyle();
  EXPECT_EQ(placemark->InlineStyle(), style);
  EXPECT_EQ(style->owners(), std::vector<SchemaObject*>{placemark.get()});
}

TEST(Style, MakesEachPartOnce) {
  const RefPtr<Style> style = Make<Style>();
  EXPECT_EQ(style->icon_style(), nullptr);
  EXPECT_EQ(style->GetIconStyle(), style->GetIconStyle());
  LabelStyle* label = style->GetLabelStyle();
  EXPECT_EQ(label, style->label_style());
  EXPECT_EQ(style->GetLineStyle()->owners(), std::vector<SchemaObject*>{style.get()});
}

TEST(Icon, CarriesItsUrl) {
  EXPECT_EQ(Icon::create("http://a.example/i.png")->href(), QString("http://a.example/i.png"));
  EXPECT_TRUE(Icon::CreateEmptyIcon()->href().isEmpty());
}

class LineStringTest : public testing::Test {
 protected:
  LineStringTest() {
    mmvector<Vec3<double>> positions(HeapManager::GetTransientHeap());
    for (int i = 0; i < 4; ++i) {
      positions.push_back({i * 0.1, i * 0.2, i * 0.3});
    }
    line_ = new LineString(positions, placemark_.get(), KmlId(), QStringNull());
  }

  const RefPtr<Placemark> placemark_ = Make<Placemark>();
  RefPtr<LineString> line_;
};

TEST_F(LineStringTest, TakesItsPositionsAndItsParent) {
  EXPECT_EQ(line_->GetCoordinateCount(), 4);
  EXPECT_EQ(line_->GetCoordinate(2), (Vec3<double>{2 * 0.1, 2 * 0.2, 2 * 0.3}));
  EXPECT_EQ(line_->owners(), std::vector<SchemaObject*>{placemark_.get()});
}

TEST_F(LineStringTest, ClosesUpBehindARemovedPosition) {
  line_->RemoveCoordinate(1);
  EXPECT_EQ(line_->GetCoordinateCount(), 3);
  EXPECT_EQ(line_->GetCoordinate(1).x, 2 * 0.1);
}

TEST_F(LineStringTest, ChangesTheAltitudeAlone) {
  line_->SetCoordinateAltitude(3, 9.0);
  EXPECT_EQ(line_->GetCoordinate(3), (Vec3<double>{3 * 0.1, 3 * 0.2, 9.0}));
}

TEST_F(LineStringTest, AnswersAnIndexOutsideWithZeroAndDoesNothing) {
  for (const int index : {-1, 4, 1000}) {
    line_->RemoveCoordinate(index);
    line_->SetCoordinateAltitude(index, 1.0);
    EXPECT_EQ(line_->GetCoordinate(index), Vec3<double>::Zero());
  }
  EXPECT_EQ(line_->GetCoordinateCount(), 4);
}

TEST_F(LineStringTest, ClonesItsPositions) {
  const RefPtr<LineString> copy = Clone<LineString>(line_.get(), false, nullptr);
  line_->SetCoordinateAltitude(0, 5.0);
  EXPECT_EQ(copy->GetCoordinateCount(), 4);
  EXPECT_EQ(copy->GetCoordinate(0).z, 0.0);
}

TEST(Container, HoldsFeaturesInOrder) {
  const RefPtr<Folder> folder = Make<Folder>();
  const RefPtr<Placemark> first = Make<Placemark>();
  const RefPtr<Placemark> second = Make<Placemark>();
  EXPECT_TRUE(folder->AddFeature(first.get()));
  EXPECT_TRUE(folder->AddFeature(second.get()));
  EXPECT_FALSE(folder->AddFeature(nullptr));
  EXPECT_EQ(folder->GetFeatureCount(), 2);
  EXPECT_EQ(folder->GetFeature(1), second.get());
  EXPECT_EQ(folder->GetFeature(2), nullptr);
  EXPECT_EQ(folder->GetFeature(-1), nullptr);
  EXPECT_EQ(first->owners(), std::vector<SchemaObject*>{folder.get()});
}

TEST(Clone, OfACameraCopiesEveryField) {
  const RefPtr<Camera> source(new Camera(KmlId{"id", "base"}, "url"));
  source->SetLongitude(1.0);
  source->SetRoll(2.0);
  source->SetAltitudeMode(AltitudeMode::kRelativeToGround);
  source->SetAppliedParts(kCameraPosition | kCameraAltitude | kCameraRoll);
  const RefPtr<Camera> copy = Clone<Camera>(source.get(), false, nullptr);
  EXPECT_EQ(copy->longitude(), 1.0);
  EXPECT_EQ(copy->roll(), 2.0);
  EXPECT_EQ(copy->altitude_mode(), AltitudeMode::kRelativeToGround);
  EXPECT_EQ(copy->applied_parts(), 0x25);
  EXPECT_TRUE(copy->id().id.isEmpty());
  EXPECT_TRUE(copy->owners().empty());
  EXPECT_EQ(copy->ref_count(), 1);
}

TEST(Clone, KeepsIdsWhereItIsToldTo) {
  const RefPtr<Camera> source(new Camera(KmlId{"id", "base"}, "url"));
  const RefPtr<Camera> copy = Clone<Camera>(source.get(), true, HeapManager::GetDynamicHeap());
  EXPECT_EQ(copy->id().id, QString("id"));
  EXPECT_EQ(copy->id().base_url, QString("base"));
  EXPECT_EQ(copy->source_url(), QString("url"));
  EXPECT_EQ(MemoryManager::GetManager(copy.get()), HeapManager::GetDynamicHeap());
}

TEST(Clone, OfNothingIsNothing) {
  EXPECT_FALSE(Clone<Camera>(nullptr, false, nullptr));
}

TEST(Clone, GoesAllTheWayDown) {
  const RefPtr<Document> document = Make<Document>();
  const RefPtr<Placemark> placemark = Make<Placemark>();
  placemark->SetName("n");
  placemark->InlineStyle()->GetLineStyle()->SetOuterWidth(0.25f);
  placemark->SetGeometry(new Point({0.5, 0.0, 0.0}, placemark.get(), KmlId(), QStringNull()));
  document->AddFeature(placemark.get());
  const RefPtr<Document> copy = Clone<Document>(document.get(), false, nullptr);
  ASSERT_EQ(copy->GetFeatureCount(), 1);
  auto* inner = As<Placemark>(copy->GetFeature(0));
  ASSERT_NE(inner, nullptr);
  EXPECT_NE(inner, placemark.get());
  EXPECT_EQ(inner->name(), QString("n"));
  EXPECT_NE(inner->style(), placemark->style());
  EXPECT_EQ(inner->style()->line_style()->outer_width(), 0.25f);
  EXPECT_EQ(As<Point>(inner->geometry())->position().x, 0.5);
  EXPECT_EQ(inner->geometry()->owners(), std::vector<SchemaObject*>{inner});
}

TEST(PhotoOverlay, HoldsTheObjectsOfItsFields) {
  const RefPtr<PhotoOverlay> overlay(new PhotoOverlay(KmlId{"p", "b"}, "b"));
  overlay->SetPoint(new Point(KmlId(), QStringNull()));
  overlay->SetIcon(Icon::create("u").get());
  EXPECT_EQ(overlay->icon()->href(), QString("u"));
  EXPECT_EQ(overlay->point()->owners(), std::vector<SchemaObject*>{overlay.get()});
  EXPECT_EQ(static_cast<int>(PhotoShape::kStreetSphere), 3);
}

class RecordingObserver : public CreationObserver {
 public:
  RecordingObserver() { AddObserver(this); }
  ~RecordingObserver() override { RemoveObserver(this); }
  void OnCreated(SchemaObject& object) override { created.push_back(&object); }
  std::vector<SchemaObject*> created;
};

TEST(CreationObserver, HearsOfObjectsInOrderWhenTheBracketEnds) {
  RecordingObserver observer;
  RefPtr<Placemark> first;
  RefPtr<Point> second;
  {
    const CreationObserver::NotificationDeferrer deferrer;
    first = Make<Placemark>();
    second = Make<Point>();
    EXPECT_TRUE(observer.created.empty());
  }
  EXPECT_EQ(observer.created, (std::vector<SchemaObject*>{first.get(), second.get()}));
}

TEST(CreationObserver, HearsOnceWhenTheOutermostOfNestedBracketsEnds) {
  RecordingObserver observer;
  RefPtr<Point> point;
  {
    const CreationObserver::NotificationDeferrer outer;
    {
      const CreationObserver::NotificationDeferrer inner;
      point = Make<Point>();
    }
    EXPECT_TRUE(observer.created.empty());
  }
  EXPECT_EQ(observer.created.size(), 1u);
}

TEST(CreationObserver, HearsAtOnceOfWhatIsHeldBackWhenAsked) {
  RecordingObserver observer;
  const CreationObserver::NotificationDeferrer deferrer;
  const RefPtr<Point> point = Make<Point>();
  CreationObserver::NotifyDeferred();
  EXPECT_EQ(observer.created.size(), 1u);
  CreationObserver::NotifyDeferred();
  EXPECT_EQ(observer.created.size(), 1u);
}

TEST(CreationObserver, DoesNotHearOfAnObjectThatHasDied) {
  RecordingObserver observer;
  RefPtr<Point> kept;
  {
    const CreationObserver::NotificationDeferrer deferrer;
    Make<Placemark>();
    kept = Make<Point>();
  }
  EXPECT_EQ(observer.created, std::vector<SchemaObject*>{kept.get()});
}

TEST(CreationObserver, DoesNotHearOfObjectsMadeOutsideABracket) {
  RecordingObserver observer;
  Make<Point>();
  CreationObserver::NotifyDeferred();
  CreationObserver::EndNotificationDeferrer();
  EXPECT_TRUE(observer.created.empty());
}

class CloningObserver : public CreationObserver {
 public:
  CloningObserver() { AddObserver(this); }
  ~CloningObserver() override { RemoveObserver(this); }
  void OnCreated(SchemaObject& object) override {
    if (++calls == 1) {
      copy = object.clone(false, nullptr);
    }
  }
  int calls = 0;
  RefPtr<SchemaObject> copy;
};

TEST(CreationObserver, HearsOfObjectsThatObserversMake) {
  CloningObserver observer;
  RefPtr<Point> point;
  {
    const CreationObserver::NotificationDeferrer deferrer;
    point = Make<Point>();
  }
  EXPECT_EQ(observer.calls, 2);
}

TEST(CreationObserver, HearsNothingOfABracketOnAnotherThread) {
  RecordingObserver observer;
  const CreationObserver::NotificationDeferrer deferrer;
  std::thread([] { Make<Point>(); }).join();
  CreationObserver::NotifyDeferred();
  EXPECT_TRUE(observer.created.empty());
}

TEST(CreationObserver, WorksOnTwoThreadsAtOnce) {
  std::vector<std::thread> threads;
  for (int i = 0; i < 2; ++i) {
    threads.emplace_back([] {
      for (int round = 0; round < 500; ++round) {
        const CreationObserver::NotificationDeferrer deferrer;
        const RefPtr<Placemark> placemark = Make<Placemark>();
        placemark->InlineStyle()->GetLineStyle();
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  RecordingObserver observer;
  CreationObserver::NotifyDeferred();
  EXPECT_TRUE(observer.created.empty());
}

}  // namespace
}  // namespace loculus
}  // namespace nimbara
